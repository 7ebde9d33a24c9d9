#include "keys.h"

// In this order: term.h needs curses.h, and both define common words as macros.
#include <curses.h>
#include <term.h>

#include <map>

namespace harness {
namespace {

struct Key {
    const char* name;
    const char* capability;  // terminfo name of the key's bytes; null: always the same bytes
    const char* other;       // a second terminfo name (older keyboards), or the bytes themselves
};

constexpr Key kKeys[] = {
    {"Up", "kcuu1", nullptr},     {"Down", "kcud1", nullptr},    {"Left", "kcub1", nullptr},
    {"Right", "kcuf1", nullptr},  {"Home", "khome", "kfnd"},     {"End", "kend", "kslt"},
    {"PageUp", "kpp", nullptr},   {"PageDown", "knp", nullptr},  {"Insert", "kich1", nullptr},
    {"Delete", "kdch1", nullptr}, {"Backspace", "kbs", nullptr}, {"F1", "kf1", nullptr},
    {"F2", "kf2", nullptr},       {"F3", "kf3", nullptr},        {"F4", "kf4", nullptr},
    {"F5", "kf5", nullptr},       {"F6", "kf6", nullptr},        {"F7", "kf7", nullptr},
    {"F8", "kf8", nullptr},       {"F9", "kf9", nullptr},        {"F10", "kf10", nullptr},
    {"F11", "kf11", nullptr},     {"F12", "kf12", nullptr},      {"Enter", nullptr, "\r"},
    {"Tab", nullptr, "\t"},       {"Esc", nullptr, "\x1b"},      {"Space", nullptr, " "},
    {"lt", nullptr, "<"},
};

std::string Capability(const char* name) {
    const char* text = tigetstr(const_cast<char*>(name));
    return text == nullptr ? "" : text;
}

using Keyboard = std::map<std::string, std::string>;

// A terminal type that terminfo does not know is taken for an xterm.
bool OpenDescription(const std::string& terminal_type) {
    int error = 0;
    return setupterm(terminal_type.c_str(), 1, &error) == OK || setupterm("xterm", 1, &error) == OK;
}

Keyboard ReadKeyboard(const std::string& terminal_type) {
    if (!OpenDescription(terminal_type)) return {};
    Keyboard keyboard;
    for (const Key& key : kKeys) {
        std::string bytes = key.capability == nullptr ? key.other : Capability(key.capability);
        if (bytes.empty() && key.other != nullptr) bytes = Capability(key.other);
        keyboard[key.name] = bytes;
    }
    del_curterm(cur_term);
    return keyboard;
}

const Keyboard& KeyboardOf(const std::string& terminal_type) {
    static std::map<std::string, Keyboard> keyboards;
    const auto found = keyboards.find(terminal_type);
    if (found != keyboards.end()) return found->second;
    return keyboards[terminal_type] = ReadKeyboard(terminal_type);
}

std::string NamedKey(const std::string& terminal_type, const std::string& name) {
    if (name.size() == 3 && name.compare(0, 2, "C-") == 0) {
        return std::string(1, static_cast<char>(name[2] & 0x1F));
    }
    const Keyboard& keyboard = KeyboardOf(terminal_type);
    const auto found = keyboard.find(name);
    return found == keyboard.end() ? "" : found->second;
}

bool Has(const std::set<int>& modes, int mode) {
    return modes.count(mode) > 0;
}

}  // namespace

bool ErasesWithColour(const std::string& terminal_type) {
    if (!OpenDescription(terminal_type)) return true;
    const bool erases = tigetflag(const_cast<char*>("bce")) > 0;
    del_curterm(cur_term);
    return erases;
}

std::vector<KeyPress> KeyPresses(const std::string& terminal_type, const std::string& keys,
                                 std::string& error) {
    std::vector<KeyPress> presses;
    for (size_t at = 0; at < keys.size();) {
        const size_t end = keys.find('>', at);
        if (keys[at] != '<' || end == std::string::npos) {
            presses.push_back({keys.substr(at, 1), keys.substr(at, 1)});
            at++;
            continue;
        }
        const std::string written = keys.substr(at, end + 1 - at);
        const std::string bytes = NamedKey(terminal_type, written.substr(1, written.size() - 2));
        if (bytes.empty()) {
            error = "A terminal of type ";
            error.append(terminal_type).append(" has no key ").append(written);
            return {};
        }
        presses.push_back({written, bytes});
        at = end + 1;
    }
    return presses;
}

std::string MouseBytes(const std::set<int>& modes, MouseEvent event, int row, int col) {
    constexpr int kAnyMotion = 1003, kButtons = 1000, kDrags = 1002, kSgr = 1006;
    const bool reports_motion = Has(modes, kAnyMotion);
    const bool reports_buttons = reports_motion || Has(modes, kButtons) || Has(modes, kDrags);
    if (event == MouseEvent::kMove ? !reports_motion : !reports_buttons) return "";

    constexpr int kNoButton = 3, kMotion = 32;
    if (Has(modes, kSgr)) {
        const int button = event == MouseEvent::kMove ? kNoButton + kMotion : 0;
        const char final = event == MouseEvent::kRelease ? 'm' : 'M';
        return "\x1b[<" + std::to_string(button) + ";" + std::to_string(col + 1) + ";" +
               std::to_string(row + 1) + final;
    }
    const int button = event == MouseEvent::kMove    ? kNoButton + kMotion
                       : event == MouseEvent::kPress ? 0
                                                     : kNoButton;
    std::string bytes = "\x1b[M";
    for (const int value : {button, col + 1, row + 1})
        bytes += static_cast<char>(value + 32);
    return bytes;
}

}  // namespace harness
