#include "screen.h"

#include <cctype>
#include <chrono>
#include <map>
#include <thread>

#include "keys.h"

namespace vm {
namespace {

std::string Trimmed(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::vector<harness::KeyPress> Presses(const std::string& type, const std::string& keys) {
    std::string error;
    std::vector<harness::KeyPress> presses = harness::KeyPresses(type, keys, error);
    Require(error.empty(), error);
    return presses;
}

}  // namespace

std::string Screen::Text() const {
    std::string text;
    for (int row = 0; row < kRows; row++)
        text += Row(row) + "\n";
    return text;
}

void Screen::WaitFor(const std::string& text) {
    const auto shown = [&] {
        Look();
        return Shows(text);
    };
    if (!Await(shown)) throw Failure("timed out waiting for: " + text + "\n" + Text());
}

void Screen::WaitForGone(const std::string& text) {
    const auto gone = [&] {
        Look();
        return !Shows(text);
    };
    if (!Await(gone)) throw Failure("does not disappear: " + text + "\n" + Text());
}

int Screen::Selected() const {
    int selected = -1;
    for (int row = 3; row < kRows; row++) {
        const std::string text = Row(row);
        const size_t first = text.find_first_not_of(' ');
        if (first == std::string::npos || !Marked(row, static_cast<int>(first))) continue;
        if (selected >= 0) return -1;
        selected = row;
    }
    return selected;
}

void Screen::WaitSelected(const std::string& text) {
    const auto selected = [&] {
        Look();
        const int row = Selected();
        return row >= 0 && Row(row).find(text) != std::string::npos;
    };
    if (!Await(selected)) throw Failure("not displayed as selected: " + text + "\n" + Text());
}

void Screen::Choose(const std::string& text) {
    WaitFor(text);
    Press("<Home>");
    int last = -1;
    for (int tries = 0; tries < 60; tries++) {
        const auto moved = [&] {
            Look();
            return Selected() >= 0 && Selected() != last;
        };
        if (!Await(moved)) break;
        if (Row(Selected()).find(text) != std::string::npos) {
            Press("<Enter>");
            return;
        }
        last = Selected();
        Press("<Down>");
    }
    throw Failure("the selection does not reach: " + text + "\n" + Text());
}

void Line::Clear() {
    emulator_ = std::make_unique<harness::Emulator>(
        kRows, kColumns, harness::EmulatorOptions{},
        [this](const std::string& answer) { socket_.Send(answer); });
}

void Line::Look() {
    socket_.Receive(30);
    bytes_ += socket_.received.size();
    emulator_->Feed(socket_.received);
    socket_.received.clear();
}

void Line::Press(const std::string& keys) {
    // One by one: if an escape sequence arrives in pieces, as it may on a busy machine, it starts
    // with the key ESC.
    for (const harness::KeyPress& press : Presses(type_, keys)) {
        socket_.Send(press.bytes);
        std::this_thread::sleep_for(std::chrono::milliseconds(120));
        Look();
    }
}

std::string Line::Row(int row) const {
    std::string text;
    for (int column = 0; column < kColumns; column++)
        text += emulator_->At(row, column).text;
    return Trimmed(text);
}

bool Line::Marked(int row, int column) const {
    const harness::Cell cell = emulator_->At(row, column);
    return cell.reverse || cell.bg == harness::kBlue;
}

void Line::Open() {
    Type("stty rows 40 columns 100; TERM=" + type_ + " ifmenu\r");
    WaitFor("Exit this program");
}

void Console::Look() {
    // Four bytes give the size and the cursor; then each cell is its character and its colours.
    const std::string all = machine_.Sh("cat /dev/vcsa1");
    Require(all.size() > 4, "the console has no screen");
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(all[i]); };
    rows_ = byte(0);
    columns_ = byte(1);
    cursor_column_ = byte(2);
    cursor_row_ = byte(3);
    cells_ = all.substr(4);
}

std::string Console::Row(int row) const {
    std::string text;
    for (int column = 0; row < rows_ && column < columns_; column++) {
        const char c = cells_[2 * static_cast<size_t>(row * columns_ + column)];
        text += std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '?';
    }
    return Trimmed(text);
}

bool Console::Marked(int row, int column) const {
    const size_t at = 2 * static_cast<size_t>(row * columns_ + column) + 1;
    const int colours = static_cast<unsigned char>(cells_.at(at));
    constexpr int kBlue = 1;
    return (colours >> 4 & 7) == kBlue;
}

void Console::Press(const std::string& keys) {
    static const std::map<std::string, std::string> kNames = {
        {"<Enter>", "ret"},  {"<Down>", "down"},  {"<Up>", "up"},     {"<Home>", "home"},
        {"<Esc>", "esc"},    {"<C-l>", "ctrl-l"}, {"<Space>", "spc"}, {" ", "spc"},
        {"<C-h>", "ctrl-h"}, {"<End>", "end"}};
    for (const harness::KeyPress& press : Presses("linux", keys)) {
        const auto name = kNames.find(press.name);
        machine_.PressKeys(name == kNames.end() ? press.name : name->second);
    }
}

void Console::Type(const std::string& text) {
    for (const char c : text)
        machine_.PressKeys(c == ' ' ? "spc" : std::string(1, c));
}

}  // namespace vm
