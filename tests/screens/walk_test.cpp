// Walks through the whole program, guided by the tables in docs/screens.md: every screen shows
// exactly the rows of its table; each row is reached with the cursor keys, its hot key and the
// mouse; and ENTER or a click does what the table says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "full_machine.h"
#include "machine.h"
#include "terminal.h"

namespace harness {
namespace {

using testing::ElementsAreArray;

// ---- the document ----

// The look and effect of a row in one state of the machine.
struct Face {
    std::string label;  // as in the document
    std::regex text;
    std::string key;    // "" for none
    std::string enter;  // "" for an information row
};

struct DocumentedRow {
    std::string label;
    std::vector<Face> faces;
    std::string opens;  // the screen's name, or ""

    const Face* FaceOf(const std::string& text) const {
        for (const Face& face : faces)
            if (std::regex_match(text, face.text)) return &face;
        return nullptr;
    }
    // Whether the row can be selected.
    bool Selectable() const { return !faces.front().enter.empty(); }
};

struct DocumentedScreen {
    std::string name, parent, opened_by;
    std::regex title;
    std::vector<DocumentedRow> rows;

    // The rows that can be selected.
    std::vector<const DocumentedRow*> Choices() const {
        std::vector<const DocumentedRow*> choices;
        for (const DocumentedRow& row : rows)
            if (row.Selectable()) choices.push_back(&row);
        return choices;
    }
    const DocumentedRow* RowOf(const std::string& text) const {
        for (const DocumentedRow& row : rows)
            if (row.FaceOf(text) != nullptr) return &row;
        return nullptr;
    }
};

// Trims blanks at both ends and joins runs of blanks: only the words of a row count, not its
// layout.
std::string Squashed(const std::string& text) {
    std::istringstream words(text);
    std::string squashed, word;
    while (words >> word)
        squashed += (squashed.empty() ? "" : " ") + word;
    return squashed;
}

std::vector<std::string> Split(const std::string& text, const std::string& by) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(by); end != std::string::npos; end = text.find(by, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + by.size();
    }
    parts.push_back(text.substr(start));
    return parts;
}

// "{Start, Stop} it" becomes "Start it" and "Stop it"; a text without braces becomes itself.
std::vector<std::string> Alternatives(const std::string& text) {
    const size_t open = text.find('{');
    if (open == std::string::npos) return {text};
    const size_t close = text.find('}', open);
    std::vector<std::string> alternatives;
    for (const std::string& word : Split(text.substr(open + 1, close - open - 1), ", "))
        alternatives.push_back(text.substr(0, open) + word + text.substr(close + 1));
    return alternatives;
}

// Hardware addresses are recognised among other words; other varying text may be missing at the
// end.
std::regex PatternOf(const std::string& label) {
    std::string pattern;
    for (size_t at = 0; at < label.size(); at++) {
        const char c = label[at];
        if (c == '<') {
            const size_t close = label.find('>', at);
            const std::string name = label.substr(at + 1, close - at - 1);
            at = close;
            if (name == "address") {
                pattern += "([0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}|\\(any\\))";
            } else if (at + 1 == label.size() && pattern.ends_with(' ')) {
                pattern.pop_back();
                pattern += "( .*)?";
            } else {
                pattern += ".*";
            }
        } else {
            if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) pattern += '\\';
            pattern += c;
        }
    }
    return std::regex(pattern);
}

// "opens [Services](#services)": the name in brackets, or "".
std::string LinkIn(const std::string& text) {
    const size_t open = text.find('['), close = text.find("](");
    return close == std::string::npos ? "" : text.substr(open + 1, close - open - 1);
}

std::string InBackticks(const std::string& text) {
    const size_t open = text.find('`');
    return text.substr(open + 1, text.find('`', open + 1) - open - 1);
}

const std::string& Of(const std::vector<std::string>& alternatives, size_t i) {
    return alternatives.size() == 1 ? alternatives.front() : alternatives.at(i);
}

DocumentedRow RowOf(const std::string& line) {
    const std::vector<std::string> cells = Split(line, "|");
    DocumentedRow row;
    row.label = InBackticks(cells.at(1));
    row.opens = LinkIn(cells.at(3));
    const std::vector<std::string> labels = Alternatives(row.label);
    const std::vector<std::string> keys = Alternatives(Squashed(cells.at(2)));
    const std::vector<std::string> enters = Alternatives(Squashed(cells.at(3)));
    for (size_t i = 0; i < labels.size(); i++)
        row.faces.push_back({labels[i], PatternOf(labels[i]), Of(keys, i), Of(enters, i)});
    return row;
}

std::vector<DocumentedScreen> ReadDocument() {
    std::ifstream file(APPLIANCE_FOLDER "/../docs/screens.md");
    std::vector<DocumentedScreen> screens;
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("## ")) {
            screens.emplace_back();
            screens.back().name = line.substr(3);
        } else if (line.starts_with("Title: ")) {
            screens.back().title = PatternOf(InBackticks(line));
        } else if (line.starts_with("Opened by `")) {
            screens.back().opened_by = InBackticks(line);
            screens.back().parent = LinkIn(line);
        } else if (line.starts_with("| `")) {
            screens.back().rows.push_back(RowOf(line));
        }
    }
    return screens;
}

const std::vector<DocumentedScreen>& Document() {
    static const std::vector<DocumentedScreen> document = ReadDocument();
    return document;
}

const DocumentedScreen& ScreenNamed(std::string_view name) {
    for (const DocumentedScreen& screen : Document())
        if (screen.name == name) return screen;
    throw std::runtime_error("no screen named '" + std::string(name) + "' in the document");
}

// The screens of the document, and whether three lines of help are below the list.
struct KnownScreen {
    const char* name;
    bool has_help;
};
std::ostream& operator<<(std::ostream& out, const KnownScreen& screen) {
    return out << screen.name;
}
constexpr KnownScreen kScreens[] = {
    {"Main menu", false},    {"Interface", false},        {"Interface settings", true},
    {"Access points", true}, {"New access point", true},  {"Known access point", true},
    {"Services", false},     {"SMB/CIFS accounts", true}, {"SMB/CIFS user", true},
    {"Time servers", false}, {"Diagnostics", false},
};

bool HasHelp(const std::string& name) {
    return std::any_of(std::begin(kScreens), std::end(kScreens), [&](const KnownScreen& screen) {
        return screen.name == name && screen.has_help;
    });
}

// ---- the screen ----

class Walker : public Terminal {
  public:
    using Terminal::Terminal;

    // The rows of the list, without the empty ones, and the line of each.
    std::map<int, std::string> List(const DocumentedScreen& screen) const {
        const int title = TitleLine(screen);
        if (title < 0) return {};
        int line = title;
        while (line < rows() && !Row(line).empty())
            line++;
        const int end = HasHelp(screen.name) ? rows() - 5 : rows() - 1;
        std::map<int, std::string> list;
        for (; line < end; line++)
            if (!Row(line).empty()) list[line] = Squashed(Row(line));
        return list;
    }

    // Whether this is the screen: its title, and only rows of its table.
    bool IsOn(const DocumentedScreen& screen) const {
        const std::map<int, std::string> list = List(screen);
        return !list.empty() && std::all_of(list.begin(), list.end(), [&](const auto& shown) {
            return screen.RowOf(shown.second) != nullptr;
        });
    }
    void WaitOn(const DocumentedScreen& screen, Place place = Place::current()) {
        WaitUntil([&] { return IsOn(screen); }, "the screen '" + screen.name + "'", kPatience,
                  place);
        Settle(kPatience, place);
    }

    bool IsSelected(const DocumentedRow& row) const {
        return row.FaceOf(Squashed(Selected())) != nullptr;
    }
    void WaitOnRow(const DocumentedRow& row, Place place = Place::current()) {
        WaitUntil([&] { return IsSelected(row); }, "the row '" + row.label + "' selected",
                  kPatience, place);
    }

    // Moves to a row with the cursor keys.
    void GoTo(const DocumentedScreen& screen, const DocumentedRow& wanted,
              Place place = Place::current()) {
        std::string keys = "<End>";
        for (const DocumentedRow& row : screen.rows) {
            if (row.Selectable()) keys += "<Down>";
            if (&row == &wanted) break;
        }
        Press(keys, place);
        WaitOnRow(wanted, place);
    }

    // Starts on the main menu.
    void Open(const DocumentedScreen& screen) {
        if (screen.parent.empty()) {
            WaitOn(screen);
            return;
        }
        Open(ScreenNamed(screen.parent));
        OpenFromParent(screen);
    }
    void OpenFromParent(const DocumentedScreen& screen) {
        const DocumentedScreen& parent = ScreenNamed(screen.parent);
        for (const DocumentedRow& row : parent.rows) {
            if (row.label != screen.opened_by) continue;
            GoTo(parent, row);
            Press("<Enter>");
            WaitOn(screen);
            return;
        }
        throw std::runtime_error("'" + parent.name + "' has no row '" + screen.opened_by + "'");
    }

  private:
    int TitleLine(const DocumentedScreen& screen) const {
        for (int line = 0; line < 3; line++)
            if (std::regex_match(Squashed(Row(line)), screen.title)) return line;
        return -1;
    }
};

enum class Size { kSmall, kLarge };
std::ostream& operator<<(std::ostream& out, Size size) {
    return out << (size == Size::kSmall ? "80x24" : "132x43");
}

using WalkedScreen = std::tuple<KnownScreen, Size>;

class Walk : public testing::TestWithParam<WalkedScreen> {
  protected:
    void SetUp() override {
        // A slow `ip` may answer only after the menu has appeared.
        t.WaitFor("2001:db8::7/64");
        t.Open(screen);
    }

    const DocumentedScreen& screen = ScreenNamed(std::get<0>(GetParam()).name);
    const Size size = std::get<1>(GetParam());
    const std::vector<const DocumentedRow*> choices = screen.Choices();
    FullMachine box;
    Walker t{box, size == Size::kSmall ? OfSize(24, 80) : OfSize(43, 132)};
};

std::string WalkName(const testing::TestParamInfo<WalkedScreen>& info) {
    std::string name = std::get<0>(info.param).name;
    std::erase_if(name, [](char c) { return isalnum(static_cast<unsigned char>(c)) == 0; });
    return name + (std::get<1>(info.param) == Size::kSmall ? "80x24" : "132x43");
}

// ---- the document itself ----

TEST(ScreensDocument, HasEachScreenOnceAndTheRowThatOpensIt) {
    std::vector<std::string> documented, known;
    for (const DocumentedScreen& screen : Document())
        documented.push_back(screen.name);
    for (const KnownScreen& screen : kScreens)
        known.push_back(screen.name);
    EXPECT_THAT(documented, ElementsAreArray(known));

    std::set<std::string> opened = {"Main menu"};
    for (const DocumentedScreen& screen : Document()) {
        EXPECT_FALSE(screen.rows.empty()) << screen.name;
        for (const DocumentedRow& row : screen.rows) {
            if (row.opens.empty()) continue;
            const DocumentedScreen& child = ScreenNamed(row.opens);
            EXPECT_EQ(child.parent, screen.name);
            EXPECT_EQ(child.opened_by, row.label);
            opened.insert(child.name);
        }
    }
    EXPECT_EQ(opened, std::set<std::string>(known.begin(), known.end()));
}

// ---- keys ----

// The whole list, where all of it fits.
void ExpectRows(const Walker& t, const DocumentedScreen& screen) {
    std::vector<std::string> shown, documented;
    for (const DocumentedRow& row : screen.rows)
        documented.push_back(row.label);
    for (const auto& [line, text] : t.List(screen)) {
        const size_t index = shown.size();
        const bool same = index < screen.rows.size() && screen.rows[index].FaceOf(text) != nullptr;
        shown.push_back(same ? documented[index] : text);
    }
    EXPECT_EQ(shown, documented);
}

// The cursor visits exactly the rows that can be selected. Returns their current hot keys.
std::vector<std::string> WalkDown(Walker& t, const std::vector<const DocumentedRow*>& choices) {
    std::vector<std::string> keys;
    t.Press("<End>");
    t.WaitOnRow(*choices.back());
    for (const DocumentedRow* row : choices) {
        t.Press("<Down>");
        t.WaitOnRow(*row);
        keys.push_back(row->FaceOf(Squashed(t.Selected()))->key);
    }
    return keys;
}

void WalkUp(Walker& t, const std::vector<const DocumentedRow*>& choices) {
    for (auto row = choices.rbegin() + 1; row != choices.rend(); ++row) {
        t.Press("<Up>");
        t.WaitOnRow(**row);
    }
    t.Press("<Up>");
    t.WaitOnRow(*choices.back());
}

// The next row, after the selected one and wrapping around, with this key in this state of the
// machine.
size_t NextWithKey(const std::vector<std::string>& keys, size_t selected, const std::string& key) {
    for (size_t step = 1; step <= keys.size(); step++) {
        const size_t index = (selected + step) % keys.size();
        if (keys[index] == key) return index;
    }
    return selected;
}

// A hot key is highlighted in its row, and nothing is in the others. The selected row is left out.
void ExpectMarks(const Walker& t, const DocumentedScreen& screen) {
    for (const auto& shown : t.List(screen)) {
        const int line = shown.first;
        const std::string& text = shown.second;
        if (line == t.SelectedRow()) continue;
        std::string marked;
        for (int col = 0; col < t.cols(); col++) {
            const Cell cell = t.Cell(line, col);
            if (cell.fg != kYellow || cell.text == " ") continue;
            marked += static_cast<char>(tolower(static_cast<unsigned char>(cell.text[0])));
        }
        const DocumentedRow* row = screen.RowOf(text);
        ASSERT_NE(row, nullptr) << text;
        EXPECT_EQ(marked, row->FaceOf(text)->key) << text;
    }
}

TEST_P(Walk, HasTheRowsAndHotKeysOfTheDocument) {
    if (size == Size::kLarge) ExpectRows(t, screen);
    const std::vector<std::string> keys = WalkDown(t, choices);
    WalkUp(t, choices);
    size_t selected = choices.size() - 1;
    std::string others;
    for (const char key : std::string("abcdefghijklmnopqrstuvwxyz0123456789")) {
        const std::string name(1, key);
        const auto rows = std::count(keys.begin(), keys.end(), name);
        if (rows == 0) others += key;
        for (int press = 0; rows > 0 && press <= rows; press++) {
            selected = NextWithKey(keys, selected, name);
            t.Press(name);
            t.WaitOnRow(*choices[selected]);
        }
    }
    t.Press(others);
    t.Settle();
    ExpectMarks(t, screen);
    EXPECT_TRUE(t.IsOn(screen));
    EXPECT_TRUE(t.IsSelected(*choices[selected])) << t.Selected();
}

// ---- what the rows do ----

// How to activate a row, and how to react to what follows.
class Activation {
  public:
    Activation(Walker& terminal, const DocumentedScreen& on, const DocumentedRow& chosen,
               bool by_mouse)
        : t_(terminal), screen_(on), row_(chosen), by_mouse_(by_mouse) {}

    void Try() {
        t_.GoTo(screen_, row_);
        t_.Settle();
        const std::string enter = row_.FaceOf(Squashed(t_.Selected()))->enter;
        const testing::ScopedTrace where(__FILE__, __LINE__, row_.label + ": " + enter);
        before_ = t_.Screen();
        calls_ = t_.machine().Calls().size();
        if (by_mouse_) {
            t_.Click(t_.SelectedRow(), 6);
        } else {
            t_.Press("<Enter>");
        }
        Follow(enter);
    }

  private:
    void Follow(const std::string& enter) {
        if (enter.starts_with("opens")) {
            t_.WaitOn(ScreenNamed(row_.opens));
            Back("<Esc>");
        } else if (enter == "asks") {
            t_.WaitFor("re you sure?");
            Back("n");
        } else if (enter == "types") {
            t_.WaitFor("[ESC to cancel");
            Back("<Esc>");
            EXPECT_FALSE(t_.Shows("[ESC to cancel"));
        } else if (enter == "shows") {
            t_.WaitFor("Hit ENTER to continue.");
            Back("<Enter>");
        } else if (enter == "nothing") {
            t_.Settle();
            EXPECT_EQ(t_.Screen(), before_);
        } else if (enter == "acts") {
            t_.WaitUntil([&] { return t_.IsOn(screen_) && HasActed(); }, "the row to act");
            t_.Settle();
        } else if (enter == "leaves" || enter == "acts, leaves") {
            t_.WaitOn(ScreenNamed(screen_.parent));
            EXPECT_TRUE(enter == "leaves" || HasRun());
            t_.OpenFromParent(screen_);
        } else if (enter == "ends") {
            EXPECT_EQ(t_.WaitExit(), Exited(0));
        } else {
            ADD_FAILURE() << "the document says '" << enter << "'";
        }
    }

    void Back(const std::string& key) {
        t_.Press(key);
        t_.WaitOn(screen_);
        EXPECT_TRUE(t_.IsSelected(row_)) << t_.Selected();
    }
    bool HasRun() { return t_.machine().Calls().size() > calls_; }
    // It has run something, or shows something else.
    bool HasActed() { return HasRun() || t_.Screen() != before_; }

    Walker& t_;
    const DocumentedScreen& screen_;
    const DocumentedRow& row_;
    bool by_mouse_;
    std::vector<std::string> before_;
    size_t calls_ = 0;
};

// Actions that pause take long, so they run only once, with ENTER.
bool MayPause(const DocumentedRow& row) {
    return row.faces.front().enter.starts_with("acts");
}

TEST_P(Walk, EveryRowDoesWhatTheDocumentSays) {
    const bool by_mouse = size == Size::kLarge;
    for (const DocumentedRow* row : choices) {
        if (by_mouse && MayPause(*row)) continue;
        Activation(t, screen, *row, by_mouse).Try();
    }
}

// ---- the mouse ----

// The visible rows and their kinds, from the first row of the list on, or up to its last.
std::map<int, const DocumentedRow*> VisibleRows(const Walker& t, const DocumentedScreen& screen,
                                                bool from_end) {
    const std::map<int, std::string> list = t.List(screen);
    size_t index = from_end ? screen.rows.size() - list.size() : 0;
    std::map<int, const DocumentedRow*> visible;
    for (const auto& [line, text] : list)
        visible[line] = &screen.rows.at(index++);
    return visible;
}

// The colour that a row has over its whole width while hovered.
Colour HoverColour(const Cell& before, bool selectable) {
    if (before.fg == kRed) return kRed;
    if (before.bg == kBlue) return kCyan;
    return selectable ? kYellow : kWhite;
}

void HoverOver(Walker& t, const std::map<int, const DocumentedRow*>& visible) {
    const int end = t.cols() - 2;
    for (const auto& [line, row] : visible) {
        const Cell before = t.Cell(line, end);
        t.Hover(line, end);
        t.Settle();
        EXPECT_EQ(t.Cell(line, end).fg, HoverColour(before, row->Selectable())) << row->label;
        EXPECT_EQ(t.Cell(line, end).bg, before.bg) << row->label;
    }
    t.Hover(0, 0);
    t.Settle();
    for (const auto& shown : visible)
        EXPECT_NE(t.Cell(shown.first, end).fg, kYellow) << shown.second->label;
}

void ClickOn(Walker& t, const DocumentedScreen& screen,
             const std::map<int, const DocumentedRow*>& visible) {
    for (const auto& shown : visible) {
        const int line = shown.first;
        const DocumentedRow& row = *shown.second;
        if (!row.Selectable()) continue;
        if (t.SelectedRow() == line) {
            t.Press(line == t.List(screen).begin()->first ? "<Down>" : "<Up>");
            t.WaitUntil([&] { return t.SelectedRow() != line; }, "another row selected");
        }
        t.Click(line, 6);
        t.WaitUntil([&] { return t.SelectedRow() == line; }, "'" + row.label + "' selected");
        t.Settle();
        EXPECT_TRUE(t.IsOn(screen)) << row.label;
        EXPECT_TRUE(t.IsSelected(row)) << row.label;
    }
}

TEST_P(Walk, EveryRowReactsToThePointerAndAClick) {
    const size_t calls = box.Calls().size();
    std::set<const DocumentedRow*> done;
    for (const bool from_end : {false, true}) {
        t.Press(from_end ? "<End>" : "<Home>");
        t.Settle();
        auto visible = VisibleRows(t, screen, from_end);
        std::erase_if(visible,
                      [&](const auto& shown) { return !done.insert(shown.second).second; });
        HoverOver(t, visible);
        ClickOn(t, screen, visible);
        if (done.size() == screen.rows.size()) break;
    }
    // Selecting alone did nothing.
    EXPECT_EQ(box.Calls().size(), calls) << box.CallLog();
}

INSTANTIATE_TEST_SUITE_P(, Walk,
                         testing::Combine(testing::ValuesIn(kScreens),
                                          testing::Values(Size::kSmall, Size::kLarge)),
                         WalkName);

}  // namespace
}  // namespace harness
