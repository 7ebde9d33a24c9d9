#include "emulator.h"

#include <vterm.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace harness {
namespace {

constexpr char kEscape = '\x1b';
// The last bytes of the sequences that erase, or insert, delete and scroll.
constexpr std::string_view kErasing = "JKXLMP@ST";
// Their like in two bytes: down, to the next line, up.
constexpr std::string_view kScrolling = "DEM";

const char* ColourName(int colour) {
    static const char* const kNames[] = {"black", "red",     "green", "yellow",
                                         "blue",  "magenta", "cyan",  "white"};
    return colour >= kBlack && colour <= kWhite ? kNames[colour] : "default";
}

std::string Utf8(uint32_t code) {
    std::string text;
    const auto add = [&](uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0 | code >> 6);
        add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    }
    return text;
}

int ColourIndex(const VTermColor& colour, bool is_default) {
    if (is_default || !VTERM_COLOR_IS_INDEXED(&colour)) return kDefault;
    return colour.indexed.idx;
}

// The length of the control sequence (ESC [ ... final byte) at `at`; 0 if it is incomplete.
size_t SequenceLength(const std::string& bytes, size_t at) {
    for (size_t i = at + 2; i < bytes.size(); i++) {
        if (bytes[i] >= '@' && bytes[i] <= '~') return i + 1 - at;
    }
    return 0;
}

// The numbers between the leader and the final byte; -1 for a missing number.
std::vector<int> Numbers(const std::string& sequence, size_t from) {
    std::vector<int> numbers = {-1};
    for (size_t i = from; i + 1 < sequence.size(); i++) {
        if (sequence[i] == ';') {
            numbers.push_back(-1);
        } else if (sequence[i] >= '0' && sequence[i] <= '9') {
            numbers.back() = std::max(numbers.back(), 0) * 10 + (sequence[i] - '0');
        }
    }
    return numbers;
}

// An attribute sequence with dim replaced by blink. 22 turns off both bold and dim.
std::string WithDimAsBlink(const std::string& sequence) {
    std::string result = "\x1b[";
    size_t colour_arguments = 0;
    const std::vector<int> numbers = Numbers(sequence, 2);
    for (size_t i = 0; i < numbers.size(); i++) {
        if (i > 0) result += ';';
        const int number = numbers[i];
        if (colour_arguments > 0) {  // 38;5;N or 38;2;R;G;B: arguments, not attributes
            colour_arguments--;
        } else if (number == 38 || number == 48) {
            const bool indexed = i + 1 < numbers.size() && numbers[i + 1] == 5;
            colour_arguments = indexed ? 2 : 4;
        } else if (number == 2) {
            result += '5';
            continue;
        } else if (number == 22) {
            result += "22;25";
            continue;
        } else if (number == 5 || number == 6 || number == 25) {
            result += "10";  // the default font: changes nothing
            continue;
        }
        if (number >= 0) result += std::to_string(number);
    }
    return result + 'm';
}

std::string Latin1ToUtf8(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes)
        text += Utf8(static_cast<unsigned char>(byte));
    return text;
}

int OnProperty(VTermProp, VTermValue*, void*) {
    return 1;
}

int OnBell(void* bells) {
    ++*static_cast<int*>(bells);
    return 1;
}

// The callbacks depend on the version of the library; those not named here are null.
constexpr VTermScreenCallbacks kCallbacks = [] {
    VTermScreenCallbacks callbacks{};
    callbacks.settermprop = OnProperty;
    callbacks.bell = OnBell;
    return callbacks;
}();

void OnReply(const char* bytes, size_t length, void* reply) {
    (*static_cast<std::function<void(const std::string&)>*>(reply))(std::string(bytes, length));
}

}  // namespace

bool Cell::SameStyle(const Cell& other) const {
    return fg == other.fg && bg == other.bg && bold == other.bold && dim == other.dim &&
           reverse == other.reverse && underline == other.underline;
}

bool Cell::Plain() const {
    return SameStyle(Cell());
}

std::string Cell::Style() const {
    std::string style;
    const auto add = [&](const std::string& word) { style += (style.empty() ? "" : " ") + word; };
    if (fg != kDefault || bg != kDefault) add(std::string(ColourName(fg)) + "/" + ColourName(bg));
    if (bold) add("bold");
    if (dim) add("dim");
    if (reverse) add("reverse");
    if (underline) add("underline");
    return style;
}

Emulator::Emulator(int rows, int cols, const EmulatorOptions& options,
                   std::function<void(const std::string&)> reply)
    : rows_(rows), cols_(cols), options_(options), reply_(std::move(reply)) {
    vterm_ = vterm_new(rows, cols);
    vterm_set_utf8(vterm_, 1);
    vterm_output_set_callback(vterm_, OnReply, &reply_);
    screen_ = vterm_obtain_screen(vterm_);
    vterm_screen_enable_altscreen(screen_, 1);
    vterm_screen_set_callbacks(screen_, &kCallbacks, &bells_);
    vterm_screen_reset(screen_, 1);
}

Emulator::~Emulator() {
    vterm_free(vterm_);
}

void Emulator::Write(const std::string& bytes) {
    vterm_input_write(vterm_, bytes.data(), bytes.size());
}

void Emulator::TrackModes(const std::string& sequence) {
    const char final = sequence.back();
    if (sequence.size() < 4 || sequence[2] != '?' || (final != 'h' && final != 'l')) return;
    for (const int mode : Numbers(sequence, 3)) {
        if (final == 'h') {
            modes_.insert(mode);
        } else {
            modes_.erase(mode);
        }
    }
}

void Emulator::FeedSequence(const std::string& sequence) {
    TrackModes(sequence);
    const char final = sequence.back();
    const bool is_public = sequence[2] != '?' && sequence[2] != '>';
    if (final == 'm' && is_public) {
        Write(WithDimAsBlink(sequence));
    } else if (is_public && kErasing.find(final) != std::string_view::npos) {
        FeedErasing(sequence);
    } else {
        Write(sequence);
    }
}

// What may erase cells, or scroll blank ones in.
void Emulator::FeedErasing(const std::string& bytes) {
    const std::string colours = options_.erases_with_colour ? "" : PenColours();
    if (!colours.empty()) Write("\x1b[39;49m");
    const char final = bytes.back();
    if ((final == 'J' || final == 'K' || final == 'X') && PenHasAttributes()) {
        Erase(final, std::max(Numbers(bytes, 2)[0], 0));
    } else {
        Write(bytes);
    }
    Write(colours);
}

std::string Emulator::PenColours() const {
    constexpr std::pair<VTermAttr, int> kColours[] = {{VTERM_ATTR_FOREGROUND, 30},
                                                      {VTERM_ATTR_BACKGROUND, 40}};
    std::string sequence = "\x1b[39;49";
    for (const auto& [attribute, first] : kColours) {
        VTermValue value{};
        vterm_state_get_penattr(vterm_obtain_state(vterm_), attribute, &value);
        const bool is_default =
            VTERM_COLOR_IS_DEFAULT_FG(&value.color) || VTERM_COLOR_IS_DEFAULT_BG(&value.color);
        const int index = ColourIndex(value.color, is_default);
        if (index != kDefault) sequence += ";" + std::to_string(first + index);
    }
    return sequence + "m";
}

bool Emulator::PenHasAttributes() const {
    const VTermState* state = vterm_obtain_state(vterm_);
    constexpr VTermAttr kOfCells[] = {VTERM_ATTR_BOLD, VTERM_ATTR_BLINK, VTERM_ATTR_REVERSE,
                                      VTERM_ATTR_UNDERLINE};
    return std::any_of(std::begin(kOfCells), std::end(kOfCells), [&](VTermAttr attribute) {
        VTermValue value{};
        return vterm_state_get_penattr(state, attribute, &value) != 0 && value.number != 0;
    });
}

void Emulator::Erase(char final, int argument) {
    const int row = cursor_row();
    const int col = cursor_col();
    int from = col;
    int to = cols_;
    if (final == 'X') {
        to = std::min(cols_, col + std::max(argument, 1));
    } else {
        if (argument != 0) from = 0;
        if (argument == 1) to = col + 1;
    }
    // Wrapping is off: after a blank in the last column the cursor would wait beyond it.
    std::string drawn = "\x1b[?7l";
    const auto move = [&](int line, int column) {
        drawn += "\x1b[" + std::to_string(line + 1) + ";" + std::to_string(column + 1) + "H";
    };
    const auto blank = [&](int line, int begin, int end) {
        move(line, begin);
        drawn.append(static_cast<size_t>(end - begin), ' ');
    };
    blank(row, from, to);
    if (final == 'J') {
        for (int line = argument == 0 ? row + 1 : 0; line < (argument == 1 ? row : rows_); line++)
            if (line != row) blank(line, 0, cols_);
    }
    move(row, col);
    Write(drawn + "\x1b[?7h");
}

void Emulator::FeedText(const std::string& bytes) {
    size_t at = 0;
    while (at < bytes.size()) {
        const size_t line_feed = std::min(bytes.find('\n', at), bytes.size());
        const std::string text = bytes.substr(at, line_feed - at);
        Write(options_.latin1 ? Latin1ToUtf8(text) : text);
        if (line_feed < bytes.size()) FeedErasing("\n");
        at = line_feed + 1;
    }
}

void Emulator::Feed(const std::string& bytes) {
    const std::string all = held_ + bytes;
    held_.clear();
    size_t at = 0;
    while (at < all.size()) {
        const size_t escape = all.find(kEscape, at);
        if (escape == std::string::npos) break;
        FeedText(all.substr(at, escape - at));
        at = escape;
        if (at + 1 >= all.size()) {
            held_ = all.substr(at);
            return;
        }
        if (all[at + 1] != '[') {
            const bool scrolls = kScrolling.find(all[at + 1]) != std::string_view::npos;
            const std::string sequence = all.substr(at, 2);
            scrolls ? FeedErasing(sequence) : Write(sequence);
            at += 2;
            continue;
        }
        const size_t length = SequenceLength(all, at);
        if (length == 0) {
            held_ = all.substr(at);
            return;
        }
        FeedSequence(all.substr(at, length));
        at += length;
    }
    FeedText(all.substr(at));
}

void Emulator::Resize(int rows, int cols) {
    rows_ = rows;
    cols_ = cols;
    vterm_set_size(vterm_, rows, cols);
}

Cell Emulator::At(int row, int col) const {
    Cell cell;
    VTermScreenCell raw{};
    if (vterm_screen_get_cell(screen_, VTermPos{row, col}, &raw) == 0) return cell;
    constexpr uint32_t kRightHalf = 0xFFFFFFFF;
    for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && raw.chars[i] != 0; i++) {
        if (raw.chars[i] != kRightHalf) cell.text += Utf8(raw.chars[i]);
    }
    if (raw.chars[0] == 0) cell.text.push_back(' ');
    cell.fg = ColourIndex(raw.fg, VTERM_COLOR_IS_DEFAULT_FG(&raw.fg));
    cell.bg = ColourIndex(raw.bg, VTERM_COLOR_IS_DEFAULT_BG(&raw.bg));
    cell.bold = raw.attrs.bold != 0;
    cell.dim = raw.attrs.blink != 0;
    cell.reverse = raw.attrs.reverse != 0;
    cell.underline = raw.attrs.underline != 0;
    return cell;
}

int Emulator::cursor_row() const {
    VTermPos position{};
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return position.row;
}

int Emulator::cursor_col() const {
    VTermPos position{};
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return position.col;
}

}  // namespace harness
