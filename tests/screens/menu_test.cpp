// The menu that every screen uses, tested on the main menu: what reaches the terminal. Its rules
// for keys, hot keys and the mouse are tested in tests/ui, and for the rows of each screen in
// walk_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>

#include "main_menu_test.h"

namespace harness {
namespace {

// The main menu of a machine with twelve bridges: 34 rows, 0 to 33.
constexpr int kBridges = 12;

std::vector<std::string> RowsWithBridges() {
    std::vector<std::string> rows = kActionRows;
    rows.push_back("");
    for (unsigned i = 1; i <= kBridges; i++) {
        char text[100];
        std::snprintf(text, sizeof text, "%u. %-6s  02:00:00:00:00:%02X  Disconnected", i,
                      ("br" + std::to_string(i)).c_str(), i);
        rows.insert(rows.end(), {text, ""});
    }
    rows.push_back("Exit this program");
    return rows;
}

class TwelveBridges : public testing::Test {
  protected:
    TwelveBridges() { AddBridges(box, kBridges); }

    // Waits until the list starts at row `top` and row `selection` is selected.
    void WaitForView(Terminal& t, int top, int selection, Place place = Place::current()) {
        const auto shown = [&] {
            for (int line = kFirstLine; line < t.rows() - 1; line++) {
                const size_t row = static_cast<size_t>(top + line - kFirstLine);
                const std::string text = row < rows.size() ? rows[row] : "";
                if (t.Row(line) != (text.empty() ? "" : "    " + text)) return false;
            }
            return t.SelectedRow() == kFirstLine + selection - top;
        };
        t.WaitUntil(shown,
                    "rows from " + std::to_string(top) + " on, row " + std::to_string(selection) +
                        " selected",
                    Terminal::kPatience, place);
    }

    struct Step {
        const char* keys;
        int top;
        int selection;
    };

    void Walk(Terminal& t, const std::vector<Step>& steps, Place place = Place::current()) {
        for (const Step& step : steps) {
            t.Press(step.keys, place);
            WaitForView(t, step.top, step.selection, place);
        }
    }

    Machine box;
    const std::vector<std::string> rows = RowsWithBridges();
};

// ---- keys ----

using MenuKeys = TwelveBridges;

TEST_F(MenuKeys, TheListScrollsWithTheSelection) {
    MainMenu t(box, OfSize(12, 80));             // six rows
    Walk(t, {{"e", 28, 33}, {"<Home>", 0, 0}});  // the rows are complete
    // Down: scrolls only when the selection would leave the screen, and only as far as needed.
    Walk(t, {{"<Down><Down><Down><Down><Down>", 0, 5}, {"<Down>", 1, 6}, {"<Down>", 2, 7}});
    Walk(t, {{"<Down>", 4, 9}, {"<Down>", 6, 11}});
    // Up: the same at the top.
    Walk(t, {{"<Up>", 6, 9}, {"<Up>", 6, 7}, {"<Up>", 6, 6}, {"<Up>", 5, 5}});
    // Both ends, and wrapping at them.
    Walk(t, {{"<End>", 28, 33}, {"<Home>", 0, 0}, {"<Up>", 28, 33}, {"<Down>", 0, 0}});
    // A hot key finds rows that are not visible.
    Walk(t, {{"9", 20, 25}, {"1", 9, 9}, {"2", 9, 11}, {"e", 28, 33}});
}

TEST_F(MenuKeys, PageKeysGoToTheEdgeThenByAPageLessOneRow) {
    MainMenu t(box, OfSize(12, 80));             // six rows
    Walk(t, {{"e", 28, 33}, {"<Home>", 0, 0}});  // the rows are complete
    Walk(t, {{"<PageDown>", 0, 5}, {"<PageDown>", 5, 10}, {"<PageDown>", 10, 15}});
    Walk(t, {{"<Down>", 12, 17}, {"<PageUp>", 12, 12}, {"<PageUp>", 7, 7}, {"<PageUp>", 2, 2}});
    Walk(t, {{"<PageUp>", 0, 0}, {"<PageUp>", 0, 0}});
}

TEST_F(MenuKeys, EveryEnterKeyActivates) {
    MainMenu t(box);
    for (const char* enter : {"\r", "\n", "\x1bOM"}) {  // the last is keypad ENTER
        t.SendBytes(std::string("d") + enter);
        t.WaitFor("Are you sure? [y/n]");
        t.Press("n");
        WaitForMainMenu(t);
    }
}

// ---- the look of the rows ----

// An interface with an address, and two default routes, for rows of every kind.
class MenuLook : public testing::Test {
  protected:
    MenuLook() {
        box.AddTap("eth0");
        box.Sh(
            "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
            "ip route add default via 10.1.2.1; ip route add default via 10.1.2.9 metric 7");
    }

    Machine box;
};

constexpr int kComputerName = kFirstLine + 3;
constexpr int kInterface = kFirstLine + 9;
constexpr int kAddress = kFirstLine + 10;
constexpr int kWarning = kFirstLine + 12;

TEST_F(MenuLook, EachKindOfRowHasItsStyle) {
    const std::string dim = "0-3 white/black; 4-78 white/black dim; 79 white/black";
    const std::string plain_interface =
        "0-3 white/black; 4 yellow/black bold; 5-78 white/black bold; 79 white/black";
    struct Look {
        const char* keys;
        int line;
        const char* text;
        std::string style;
    };
    const Look kLooks[] = {
        {"<Home>", kFirstLine, "Bring up all interfaces",
         "0-3 white/black; 4-9 white/blue bold; 10 white/black reverse; 11-78 white/blue bold; "
         "79 white/black"},
        {"<Home>", kComputerName, "Change computer name",
         "0-3 white/black; 4-6 white/black bold; 7 yellow/black bold; 8-78 white/black bold; "
         "79 white/black"},
        {"<Home>", kFirstLine + 8, "", dim},
        {"<Home>", kInterface, "1. eth0    02:00:00:00:00:0A  Link active  Interface up",
         plain_interface},
        {"<Home>", kAddress, "   IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1", dim},
        {"<Home>", kWarning, "WARNING: Multiple gateways active",
         "0-3 white/black; 4-78 red/black dim; 79 white/black"},
        {"1", kInterface, "1. eth0    02:00:00:00:00:0A  Link active  Interface up",
         "0-3 white/black; 4 white/black reverse; 5-78 white/blue bold; 79 white/black"},
        {"<Home>", kInterface, "1. eth0    02:00:00:00:00:0A  Link active  Interface up",
         plain_interface},
    };
    MainMenu t(box);
    for (const Look& look : kLooks) {
        const std::string row = *look.text == '\0' ? "" : std::string("    ") + look.text;
        t.Press(look.keys);
        t.WaitUntil([&] { return t.Row(look.line) == row && t.Style(look.line) == look.style; },
                    row + ": " + look.style);
    }
    // Rows of thirteen lines: a page key goes to the last visible one.
    t.Resize(19, 80);
    t.WaitForGone("Exit this program");
    t.Press("<PageDown>");
    const std::string selected = "0-3 white/black; 4-78 red/black dim reverse; 79 white/black";
    t.WaitUntil([&] { return t.Style(kWarning) == selected; }, selected);
}

// A refresh forgets the pointer, so the colours must appear before the next one.
TEST_F(MenuLook, TheRowUnderThePointerHasAnotherColour) {
    MainMenu t(box);
    t.Hover(kComputerName, 30);
    const std::string hovered = "0-3 white/black; 4-78 yellow/black bold; 79 white/black";
    t.WaitUntil([&] { return t.Style(kComputerName) == hovered; }, hovered, 2);
    t.Hover(kFirstLine, 30);
    const std::string selected =
        "0-3 white/black; 4-9 cyan/blue bold; 10 white/black reverse; 11-78 cyan/blue bold; "
        "79 white/black";
    t.WaitUntil([&] { return t.Style(kFirstLine) == selected; }, selected, 2);
}

// ---- the mouse ----

using MenuMouse = TwelveBridges;

TEST_F(MenuMouse, PressingSelectsAndReleasingDoesNothing) {
    MainMenu t(box);
    const int line = kFirstLine + 1;
    t.MousePress(line, 30);
    t.WaitSelected("Bring down all interfaces");
    t.MouseRelease(line, 30);
    WaitOutClick(t);
    // Held longer than a click, on the selected row: still no activation.
    t.MousePress(line, 30);
    WaitOutClick(t);
    t.MouseRelease(line, 30);
    WaitOutClick(t);
    EXPECT_EQ(t.Selected(), "Bring down all interfaces");
    // A press outside the rows counts as a click there.
    t.MousePress(line, 2);
    t.WaitSelected("Bring up all interfaces");
}

TEST_F(MenuMouse, ADoubleClickIsOneClick) {
    MainMenu t(box);
    t.DoubleClick(kFirstLine + 1, 30);
    t.WaitSelected("Bring down all interfaces");
    t.Press("<Left>");
    t.Settle();
    EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
    t.DoubleClick(kFirstLine + 1, 30);
    t.WaitFor("Are you sure? [y/n]");
}

// ---- scrolling ----

struct TerminalType {
    const char* name;
    bool has_colours;
    bool has_page_keys;
};

std::ostream& operator<<(std::ostream& out, const TerminalType& type) {
    return out << type.name;
}

// With and without: a region that scrolls, background colour in what is erased, colours, a way back
// to the terminal's own colours.
constexpr TerminalType kTypes[] = {
    {"xterm-256color", true, true}, {"linux", true, true},   {"screen", true, true},
    {"tmux", true, true},           {"vt220", false, true},  {"vt100", false, false},
    {"ansi", true, false},          {"vwmterm", true, true},
};

class MenuScrolling : public TwelveBridges, public testing::WithParamInterface<TerminalType> {
  protected:
    // Nothing is selected on a line that has no text.
    static bool IsGround(const Terminal& t, int line) {
        for (int column = 0; column < t.cols(); column++) {
            const harness::Cell cell = t.Cell(line, column);
            if (cell.bg != (GetParam().has_colours ? kBlack : kDefault) || cell.reverse) {
                return false;
            }
        }
        return true;
    }

    static std::vector<std::string> Picture(const Terminal& t) {
        std::vector<std::string> picture = t.Screen();
        for (int line = 0; line < t.rows(); line++)
            picture.push_back(t.Style(line));
        return picture;
    }

    // A picture painted anew is the same, and its ground is the menu's.
    void ExpectWhole(Terminal& t, const char* keys) {
        const testing::ScopedTrace from(__FILE__, __LINE__, keys);
        const std::vector<std::string> shown = Picture(t);
        for (int line = 0; line < t.rows(); line++)
            EXPECT_TRUE(line == t.SelectedRow() || IsGround(t, line)) << "line " << line;
        t.Mark();
        t.Press("<C-l>");
        t.WaitUntil([&] { return t.Output().find("Tavrin 4") != std::string::npos; },
                    "everything painted anew");
        EXPECT_EQ(Picture(t), shown);
    }

    void WalkWhole(Terminal& t, const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            Walk(t, {step});
            ExpectWhole(t, step.keys);
        }
    }
};

TEST_P(MenuScrolling, LeavesThePictureWhole) {
    TerminalOptions options = OfSize(12, 80);  // six rows
    options.term = GetParam().name;
    MainMenu t(box, options);
    Walk(t, {{"e", 28, 33}});  // the rows are complete
    Walk(t, {{"<Down>", 0, 0}, {"<Down><Down><Down><Down><Down>", 0, 5}});
    WalkWhole(t, {{"<Down>", 1, 6}, {"<Down>", 2, 7}, {"<Down>", 4, 9}, {"<Down><Down>", 8, 13}});
    WalkWhole(t, {{"<Up><Up>", 8, 9}, {"<Up>", 7, 7}, {"<Up>", 6, 6}, {"<Up><Up>", 4, 4}});
    WalkWhole(t, {{"e", 28, 33}, {"<Down>", 0, 0}, {"<Up>", 28, 33}, {"1", 9, 9}, {"3", 9, 13}});
    if (!GetParam().has_page_keys) return;
    WalkWhole(t, {{"e", 28, 33}, {"<Down>", 0, 0}, {"<PageDown>", 0, 5}, {"<PageDown>", 5, 10}});
    WalkWhole(t, {{"<PageUp>", 5, 5}, {"<PageUp>", 0, 0}});
}

std::string NameOfType(const testing::TestParamInfo<TerminalType>& info) {
    std::string name = info.param.name;
    std::erase(name, '-');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Types, MenuScrolling, testing::ValuesIn(kTypes), NameOfType);

// Four lines come in with every key: an interface, its addresses, a separator.
TEST(MenuBytes, AKeyThatScrollsALongListSendsFew) {
    constexpr int kCards = 48;
    constexpr size_t kMost = 350;
    Machine box;
    AddBridges(box, kCards);
    std::string addresses;
    for (int i = 1; i <= kCards; i++) {
        const std::string number = std::to_string(i);
        addresses += "link set br" + number + " up\naddr add 10.0." + number + ".1/24 dev br" +
                     number + "\naddr add 2001:db8:" + number + "::1/64 dev br" + number +
                     " nodad\n";
    }
    box.Write("/run/batch", addresses);
    box.Sh("ip -batch /run/batch");
    for (const char* type : {"xterm-256color", "linux", "vt220"}) {
        SCOPED_TRACE(type);
        TerminalOptions options = OfSize(70, 80);
        options.term = type;
        MainMenu t(box, options);
        t.WaitFor("14. br14");
        t.Press("e");
        t.WaitSelected("Exit this program");
        std::vector<size_t> bytes;
        for (int i = kCards; i > 10; i--) {
            t.Mark();
            t.Press("<Up>");
            t.WaitSelected(std::to_string(i) + ". br" + std::to_string(i));
            // The list stands still until the selection has come to its first line.
            if (t.SelectedRow() == kFirstLine) bytes.push_back(t.Output().size());
        }
        std::sort(bytes.begin(), bytes.end());
        // A refresh in between is no key's.
        EXPECT_LE(bytes[bytes.size() / 2], kMost);
    }
}

// ---- sizes ----

using MenuSize = TwelveBridges;

TEST_F(MenuSize, WithoutRoomForRowsTheKeysStillWork) {
    box.StandIn(kNetworkScript);
    for (const auto& [lines, columns] : {std::pair(6, 80), {5, 10}, {3, 3}, {1, 1}}) {
        Terminal t(box, OfSize(lines, columns));
        t.Press("<Down><Up><PageDown><PageUp><End><Home>d<Enter>y");
        box.WaitForCalls(kNetworkScript, 1);
        t.Press("<End><Enter>");
        EXPECT_EQ(t.WaitExit(), Exited(0)) << lines << " by " << columns;
        box.ForgetCalls();
    }
}

}  // namespace
}  // namespace harness
