// Input other than plain letters: a lone ESC, keys of several bytes over a slow line, and sequences
// that are not keys of the terminal type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

using testing::IsEmpty;

class KeysOnEveryType : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Keys, KeysOnEveryType, testing::ValuesIn(kTypes), TypeName);

// ---- a lone ESC ----

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The time from sending the byte to the first sign of its effect.
double SecondsToAnswerEscape(Terminal& t) {
    t.Settle();
    t.Mark();
    const double start = Now();
    t.SendBytes("\x1b");
    t.machine().Await([&] { return !t.Output().empty(); }, 2);
    return Now() - start;
}

TEST(LoneEscape, ActsAtOnce) {
    OneCard box;
    std::vector<double> seconds;
    for (int round = 0; round < 5; round++) {
        Terminal t(box);
        for (const Stop& stop : {kTextEntry, kYesNo, kInterface}) {
            GoTo(t, stop);
            seconds.push_back(SecondsToAnswerEscape(t));
            t.WaitFor(kMainMenu.sign);
            t.WaitForGone(stop.sign);
            t.Press("<Home>");
        }
        seconds.push_back(SecondsToAnswerEscape(t));
        EXPECT_EQ(t.WaitExit(), Exited(0));
    }
    // The median, because a single late answer on a busy machine says nothing about the program.
    EXPECT_LT(Median(seconds), 0.150);
}

// ---- ESC followed by something else ----

TEST(EscapeAndALetter, AreTwoKeys) {
    Machine box;
    box.StandIn(kNetwork);
    Terminal t(box);
    // The first cancels, and the second selects a row.
    for (const Stop& stop : {kTextEntry, kYesNo}) {
        GoTo(t, stop);
        t.SendBytes("\x1bs");
        t.WaitSelected("Services");
        EXPECT_FALSE(t.Shows(stop.sign));
    }
    GoTo(t, kYesNo);
    t.SendBytes("\x1by");
    t.WaitForGone(kYesNo.sign);
    t.Settle();
    EXPECT_THAT(box.Calls(), IsEmpty());
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
}

TEST(EscapeAndALetter, LeaveTheMainMenu) {
    Machine box;
    for (const char* bytes : {"\x1bs", "\x1b\r", "\x1b\x31", "\x1b\xc3\xa9", "\x1b\x7f"}) {
        Terminal t(box);
        GoTo(t, kMainMenu);
        t.SendBytes(bytes);
        EXPECT_EQ(t.WaitExit(), Exited(0));
    }
}

TEST(LoneEscape, TwiceLeavesTwoScreens) {
    Machine box;
    Terminal t(box);
    GoTo(t, kTextEntry);
    t.SendBytes("\x1b\x1b");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST_P(KeysOnEveryType, EscapeAndACursorKeyAreTwoKeys) {
    Machine box;
    Terminal t(box, OfType(GetParam()));
    GoTo(t, kTextEntry);
    std::string error;
    t.SendBytes("\x1b" + KeyPresses(GetParam(), "<Down>", error)[0].bytes);
    t.WaitForGone(kTextEntry.sign);
    // Moves from "Change computer name" to the next row; the hot key shows where the selection is.
    t.WaitUntil([&] { return t.Row(t.SelectedRow()).find("Network Time") != std::string::npos; },
                "the next row to be selected");
}

TEST_P(KeysOnEveryType, BackspaceLeaves) {
    Machine box;
    Terminal t(box, OfType(GetParam()));
    GoTo(t, kYesNo);
    t.Press("<Backspace>");
    t.WaitForGone(kYesNo.sign);
    t.Press("<Backspace>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

// ---- a slow line ----

bool SendAtPace(Terminal& t, const std::string& bytes) {
    return t.SendSlowly(bytes, 0.005, 0.010);
}

struct SlowKey {
    const char* stop_keys;  // from the main menu to the place of the key
    const char* ready;      // the text shown there
    const char* key;        // the key that arrives slowly
    const char* after;      // keys after it
    const char* effect;     // the text shown in the end
};

constexpr SlowKey kSlowMenuKeys[] = {
    {"s", "Services", "<Down>", "", "Diagnostics"},
    {"s", "Services", "<Up>", "", "Flush/reset DNS cache"},
    {"s", "Services", "<PageDown>", "", "Exit this program"},
    {"s", "Services", "<PageUp>", "", "Bring up all interfaces"},
    {"s", "Services", "<End>", "", "Exit this program"},
    {"s", "Services", "<Home>", "", "Bring up all interfaces"},
};
constexpr SlowKey kSlowEntryKeys[] = {
    {"n<Enter>", "appliance", "<Left>", "X", "appliancXe"},
    {"n<Enter><Left><Left>", "appliance", "<Right>", "X", "appliancXe"},
    {"n<Enter><Left>", "appliance", "<Delete>", "X", "appliancX"},
    {"n<Enter><Left>", "appliance", "<End>", "X", "applianceX"},
    {"n<Enter>", "appliance", "<Home>", "X", "Xappliance"},
};

// The row with the effect, if the machine kept the pace.
std::string SlowEffect(Machine& box, const char* type, const SlowKey& slow,
                       const std::function<std::string(Terminal&)>& row) {
    std::string error;
    const std::string bytes = KeyPresses(type, slow.key, error)[0].bytes;
    for (int attempt = 0; attempt < 10; attempt++) {
        Terminal t(box, OfType(type));
        GoTo(t, kMainMenu);
        t.Press(slow.stop_keys);
        t.WaitUntil([&] { return row(t) == slow.ready; }, slow.ready);
        t.Settle();
        if (!SendAtPace(t, bytes)) continue;
        t.Press(slow.after);
        t.machine().Await([&] { return row(t) == slow.effect; }, 1);
        return row(t);
    }
    return "the machine is too busy";
}

std::string SelectedText(Terminal& t) {
    return t.Selected();
}

std::string EntryText(Terminal& t) {
    const int prompt = t.Find("Use only letters");
    if (prompt < 0) return "";
    std::string row = t.Row(prompt + 2);
    const size_t first = row.find_first_of("aX");
    if (first == std::string::npos) return "";
    row.erase(0, first);
    return row.substr(0, row.find_first_not_of("aplinceX"));
}

TEST_P(KeysOnEveryType, MenuKeysMayArriveByteByByte) {
    Machine box;
    for (const SlowKey& slow : kSlowMenuKeys) {
        EXPECT_EQ(SlowEffect(box, GetParam(), slow, SelectedText), slow.effect) << slow.key;
    }
}

TEST_P(KeysOnEveryType, EntryKeysMayArriveByteByByte) {
    Machine box;
    for (const SlowKey& slow : kSlowEntryKeys) {
        EXPECT_EQ(SlowEffect(box, GetParam(), slow, EntryText), slow.effect) << slow.key;
    }
}

// ---- sequences that are not keys ----

struct Sequence {
    const char* what;
    const char* bytes;
};

// If a terminal type does define one, it is a key that no screen uses.
constexpr Sequence kSequences[] = {
    {"Ctrl-D, which is not the end of the input", "\x04"},
    {"F1 of old terminals", "\x1b[11~"},
    {"F1 of the Linux console", "\x1b[[A"},
    {"F5 of the Linux console", "\x1b[[E"},
    {"F1 with Shift, old style", "\x1bO2P"},
    {"F1 with Shift", "\x1b[1;2P"},
    {"F12 with all modifiers", "\x1b[24;8~"},
    {"Ctrl-Left", "\x1b[1;5D"},
    {"Ctrl-Left, old style", "\x1b[5D"},
    {"Ctrl-Left, single shift", "\x1bO5D"},
    {"Ctrl-Left of rxvt", "\x1bOd"},
    {"Alt-Up", "\x1b[1;3A"},
    {"Ctrl-e with its modifier", "\x1b[27;5;101~"},
    {"Ctrl-e as a code", "\x1b[101;5u"},
    {"a key's release", "\x1b[101;1:3u"},
    {"Ctrl-Delete of rxvt", "\x1b[3^"},
    {"Shift-Delete of rxvt", "\x1b[3$"},
    {"start of a paste", "\x1b[200~"},
    {"end of a paste", "\x1b[201~"},
    {"focus gained", "\x1b[I"},
    {"focus lost", "\x1b[O"},
    {"the terminal's attributes", "\x1b[?1;2c"},
    {"more attributes", "\x1b[>41;354;0c"},
    {"the cursor's position", "\x1b[24;80R"},
    {"the terminal's health", "\x1b[0n"},
    {"a mode's state", "\x1b[?2004;2$y"},
    {"the window's size", "\x1b[8;24;80t"},
    {"keypad digit 1", "\x1bOq"},
    {"keypad digit 3", "\x1bOs"},
    {"keypad digit 5", "\x1bOu"},
    {"keypad digit 9", "\x1bOy"},
    {"keypad point", "\x1bOn"},
    {"unknown, one letter", "\x1b[e"},
    {"unknown, one letter", "\x1b[s"},
    {"unknown, one letter", "\x1b[n"},
    {"unknown, one letter", "\x1b[y"},
    {"unknown, one letter", "\x1b[q"},
    {"unknown, single shift", "\x1bOe"},
    {"unknown, single shift", "\x1bOt"},
    {"unknown, sign before the letter", "\x1b[!e"},
    {"unknown, blank before the letter", "\x1b[1 u"},
    {"unknown, many numbers", "\x1b[1;2;3;4;5;6;7;8;9;10;11;12;13;14;15;16;17;18;19;20u"},
};

TEST_P(KeysOnEveryType, UnknownSequencesChangeNothingOnAMenu) {
    Machine box;
    Terminal t(box, OfType(GetParam()));
    GoTo(t, kMainMenu);
    t.Press("s");
    t.WaitSelected("Services");
    for (const Sequence& sequence : kSequences) {
        SCOPED_TRACE(sequence.what);
        // The cursor key shows where the selection was before.
        t.SendBytes(sequence.bytes);
        t.Press("<Down>");
        t.WaitSelected("Diagnostics");
        t.SendBytes(sequence.bytes);
        t.Press("<Up>");
        t.WaitSelected("Services");
    }
}

class KeysAtEveryStop : public testing::TestWithParam<Stop> {};
INSTANTIATE_TEST_SUITE_P(Keys, KeysAtEveryStop, testing::ValuesIn(kStops), StopName);

TEST_P(KeysAtEveryStop, UnknownSequencesChangeNothing) {
    OneCard box;
    box.StandIn(kNetwork);
    for (const char* type : {"xterm-256color", "screen"}) {
        SCOPED_TRACE(type);
        Terminal t(box, OfType(type));
        GoTo(t, GetParam());
        const std::vector<std::string> before = Look(t);
        for (const Sequence& sequence : kSequences) {
            t.SendBytes(sequence.bytes);
            t.Settle();
            ASSERT_EQ(Look(t), before) << sequence.what;
        }
        t.Press("<C-c>");
        EXPECT_EQ(t.WaitExit(), Exited(130));
    }
    EXPECT_THAT(box.Calls(kNetwork), IsEmpty());
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
}

TEST(UnknownSequence, MayArriveSlowly) {
    Machine box;
    for (const char* bytes : {"\x1b[e", "\x1bOe", "\x1b[[A", "\x1b[1;5s", "\x1b[200~"}) {
        SCOPED_TRACE(bytes + 1);
        bool kept_pace = false;
        for (int attempt = 0; attempt < 10 && !kept_pace; attempt++) {
            Terminal t(box, OfType("screen"));
            GoTo(t, kMainMenu);
            kept_pace = SendAtPace(t, bytes);
            if (!kept_pace) continue;
            t.Settle();
            t.Press("<Down>");
            t.WaitSelected("Bring down all interfaces");
        }
        EXPECT_TRUE(kept_pace) << "this machine is too busy";
    }
}

TEST(UnknownSequence, LeavesPastedKeysAlone) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    t.SendBytes("\x1b[200~s\x1b[201~");
    t.WaitSelected("Services");
    GoTo(t, kTextEntry);
    t.SendBytes("\x1b[200~-two\x1b[201~");
    t.WaitFor("appliance-two");
}

TEST(UnknownSequence, SeveralMayArriveAtOnce) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    std::string all;
    for (const Sequence& sequence : kSequences)
        all += sequence.bytes;
    t.SendBytes(all + all + "s");
    t.WaitSelected("Services");
}

// ---- bytes that are not keys ----

TEST(OtherBytes, AreNotKeys) {
    OneCard box;
    Terminal t(box);
    GoTo(t, kListedMenu);
    t.Press("s");
    t.WaitSelected("Services");
    const std::vector<std::string> before = Look(t);
    // All except ENTER, ESC and the terminal's own control characters.
    const std::string bytes(
        "\x00\x01\x02\x04\x05\x06\x07\x09\x0b\x0c\x0e\x10\x12\x14\x15\x17\x18\x19\x1d\x1e\x1f", 21);
    for (const char byte : bytes) {
        t.SendBytes(std::string(1, byte));
        t.Settle();
        EXPECT_EQ(Look(t), before) << "control character " << static_cast<int>(byte);
    }
    std::string high;
    for (int byte = 0x80; byte <= 0xff; byte++)
        high += static_cast<char>(byte);
    t.SendBytes(high);
    t.Settle();
    EXPECT_EQ(Look(t), before);
    t.Press("<Down>");
    t.WaitSelected("Diagnostics");
}

// Line noise. Without ENTER no row is activated; an ESC may leave the menu.
TEST(OtherBytes, NeverCrashTheProgram) {
    OneCard box;
    std::mt19937 random(20011);
    for (const char* type : {"xterm-256color", "linux"}) {
        for (int round = 0; round < 5; round++) {
            const Stop& stop = kStops[random() % std::size(kStops)];
            SCOPED_TRACE(stop.name);
            std::string noise;
            while (noise.size() < 3000) {
                const char byte = static_cast<char>(random() % 256);
                // All except ENTER and what the terminal handles itself: signals, stopping its
                // output.
                if (std::string("\r\n\x03\x11\x13\x1a\x1c").find(byte) == std::string::npos) {
                    noise += byte;
                }
            }
            Terminal t(box, OfType(type));
            GoTo(t, stop);
            t.SendBytes(noise);
            t.Settle();
            if (t.Running()) t.Press("<C-c>");
            const Ending ending = t.WaitExit();
            EXPECT_TRUE(ending == Exited(130) || ending == Exited(0)) << ending;
        }
    }
}

}  // namespace
}  // namespace harness::lifecycle
