// Terminals that misbehave on a tour through every screen: they hang up, stop and interrupt the
// program, change their size, send noise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "keys.h"
#include "seed.h"
#include "tour.h"

namespace harness::faults {
namespace {

using testing::AnyOf;

// The keys of the tour one by one, as the terminal sends them.
std::vector<std::string> KeysOfTheTour() {
    std::string keys, error;
    for (const Leg& leg : Tour())
        keys += leg.keys;
    std::vector<std::string> bytes;
    for (const KeyPress& press : KeyPresses("xterm-256color", keys, error))
        bytes.push_back(press.bytes);
    return bytes;
}

// Types the first keys of the tour, then waits a moment.
void GoUpTo(Terminal& t, size_t keys, int milliseconds) {
    const std::vector<std::string> tour = KeysOfTheTour();
    std::string bytes;
    for (size_t i = 0; i < keys; ++i)
        bytes += tour[i];
    t.machine().Await([&] { return t.Shows("Exit this program"); }, 5);
    t.SendBytes(bytes);
    t.RunFor(milliseconds / 1000.0);
}

// What happens after that many keys and milliseconds.
using Event = void (*)(TourBox& box, size_t keys, int milliseconds);

void AtRandomMoments(Event event) {
    Chance chance(Game::kSame);
    TourBox box;
    const int keys = static_cast<int>(KeysOfTheTour().size());
    for (int i = 0; i < 6; ++i)
        event(box, static_cast<size_t>(chance.Between(0, keys)), chance.Between(0, 300));
}

void AfterEveryKey(Event event, const char* name) {
    Chance chance(Game::kNew);
    TourBox box;
    const size_t keys = KeysOfTheTour().size();
    for (size_t i = 0; i <= keys; ++i)
        event(box, i, chance.Between(0, 30));
    std::cout << "FAULTS " << name << ": " << keys + 1 << std::endl;
}

// ---- hang-up ----

void HangUpAfter(TourBox& box, size_t keys, int milliseconds) {
    SCOPED_TRACE(std::to_string(keys) + " keys and " + std::to_string(milliseconds) + " ms");
    box.Reset();
    Terminal t(box, Hasty(box));
    GoUpTo(t, keys, milliseconds);
    t.HangUp();
    EXPECT_THAT(t.WaitExit(), AnyOf(Exited(129), Exited(1), Exited(0)));
    // "mv -v ... || cp -v ...": if mv can't print what it has done, it fails, and the shell copies
    // the example over the settings.
    const std::string copied = "/etc/vsftpd.conf holds:\n" + box.Read("/etc/vsftpd.conf.example");
    EXPECT_THAT(box.Damage(), AnyOf("", copied));
}

TEST(HangUp, AtRandomMomentsEndsTheProgramWithoutLoss) {
    AtRandomMoments(HangUpAfter);
}

TEST(WholeHangUp, AfterEveryKeyEndsTheProgramWithoutLoss) {
    AfterEveryKey(HangUpAfter, "hang-ups");
}

// How often the program has made the call so far.
int CountOf(TourBox& box, const std::string& call) {
    std::istringstream trace(box.Read(kTrace));
    int count = 0;
    for (std::string line; std::getline(trace, line);)
        count += line.starts_with(call + "(") ? 1 : 0;
    return count;
}

// Updates everything from the main menu; counts the calls made before and after.
void UpdateAll(TourBox& box, Terminal& t, const std::string& call, int& before, int& after) {
    // The signal may come even before that.
    t.WaitUntil([&] { return !t.Running() || t.Shows("Exit this program"); }, "the main menu");
    t.Settle();
    before = CountOf(box, call);
    t.Press("u<Enter>y");
    t.machine().Await([&] { return !t.Running() || box.Calls(kNetwork).size() == 2; },
                      Terminal::kPatience);
    t.Settle();
    after = CountOf(box, call);
}

// SIGHUP arrives at each of the calls around the start of a command.
TEST(HangUp, AtAnyMomentOfAnUpdateIsNotLostAndLeavesNothingHalfDone) {
    TourBox box;
    int before = 0, last = 0, sent = 0;
    for (const std::string call : {"rt_sigaction", "clone", "vfork"}) {
        Terminal undisturbed(box, Traced(box, call));
        UpdateAll(box, undisturbed, call, before, last);
        EndTour(undisturbed);
        for (int n = before + 1; n <= last; ++n) {
            SCOPED_TRACE(call + " " + std::to_string(n));
            box.ForgetCalls();
            Terminal t(box, Traced(box, call, call + ":signal=HUP:when=" + std::to_string(n)));
            int none = 0, made = 0;
            UpdateAll(box, t, call, none, made);
            if (made < n) {  // the number varies between updates
                EndTour(t);
                continue;
            }
            EXPECT_EQ(t.WaitExit(), Exited(129));
            EXPECT_THAT(
                box.CallLines(kNetwork),
                AnyOf(testing::IsEmpty(), testing::ElementsAre("/etc/init.d/network stop all",
                                                               "/etc/init.d/network start all")));
            ++sent;
        }
        box.ForgetCalls();
    }
    EXPECT_GT(sent, 8) << "two commands are started";
}

// ---- Ctrl-C ----

void InterruptAfter(TourBox& box, size_t keys, int milliseconds) {
    SCOPED_TRACE(std::to_string(keys) + " keys and " + std::to_string(milliseconds) + " ms");
    box.Reset();
    Terminal t(box, Hasty(box));
    GoUpTo(t, keys, milliseconds);
    t.SendBytes("\x03");
    t.Settle();
    // The first Ctrl-C may go to a command.
    EXPECT_THAT(EndTour(t), AnyOf(Exited(130), Exited(0)));
    // On the plain terminal Ctrl-C makes the kernel discard output it has not yet passed on: this
    // may include the end of the screen.
    const bool is_thrown_away = t.LineMode() && t.AltScreen() && t.Shows("^C");
    if (!is_thrown_away) {
        EXPECT_EQ(TerminalDamage(t), "");
    }
    EXPECT_EQ(box.Damage(), "");
}

TEST(CtrlC, AtRandomMomentsEndsTheProgramOrItsCommand) {
    AtRandomMoments(InterruptAfter);
}

TEST(WholeCtrlC, AfterEveryKeyEndsTheProgramOrItsCommand) {
    AfterEveryKey(InterruptAfter, "interrupts");
}

// ---- Ctrl-Z ----

// The program under a shell that continues it when it stops, and reports that.
TerminalOptions UnderAnEagerShell(TerminalOptions options) {
    std::string command = "set -m; " + options.program;
    for (const std::string& argument : options.arguments)
        command += " '" + argument + "'";
    // Status 148: stopped by Ctrl-Z.
    command +=
        "; status=$?; while [ $status = 148 ]; do echo >>/tmp/stops; fg >/dev/null;"
        " status=$?; done; exit $status";
    options.program = "/bin/sh";
    options.arguments = {"-c", command};
    return options;
}

TEST(CtrlZ, AfterEveryPartOfTheTourChangesNothing) {
    TourBox box;
    Terminal t(box, UnderAnEagerShell(Hasty(box)));
    size_t stops = 0;
    for (const Leg& leg : Tour()) {
        t.Press(leg.keys);
        if (leg.sign[0] == '\0') break;
        t.WaitFor(leg.sign);
        t.Settle();
        t.Press("<C-z>");
        ++stops;
        box.WaitUntil(
            [&] { return box.Exists("/tmp/stops") && box.Read("/tmp/stops").size() == stops; },
            "the stop");
        t.WaitFor(leg.sign);
        t.Settle();
    }
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_TRUE(box.AllSaved());
}

// Stopping has to wait until the program waits; until then it draws.
TEST(CtrlZ, WhileAScreenOpensIsNotLost) {
    TourBox box;
    TerminalOptions options = Traced(box, "%%stat", "%%stat:signal=TSTP:when=1");
    const char* looked_at = "/etc/init.d/service-caption-synchronizer";
    options.arguments.insert(options.arguments.begin(), {"-P", looked_at});
    Terminal t(box, UnderAnEagerShell(options));
    t.WaitFor("Exit this program");
    t.Press("s<Enter>");
    box.WaitUntil([&] { return box.Exists("/tmp/stops"); }, "the stop");
    t.WaitFor("Disable FTP service");
    EXPECT_EQ(EndTour(t), Exited(130));
    EXPECT_EQ(TerminalDamage(t), "");
}

// ---- sizes ----

// Whether the program has drawn the screen for the current size. On the plain terminal it does not
// draw, and a question is not repainted.
bool HasDrawn(const Terminal& t, const Leg& leg) {
    if (!t.AltScreen() || std::string(leg.sign).starts_with("Are you sure?")) return true;
    const std::vector<std::string> screen = t.Screen();
    const auto empty = std::count(screen.begin(), screen.end(), std::string());
    return static_cast<int>(empty) < t.rows() - 1;
}

// A list may stay scrolled, so its rows are not checked on the way.
void StormAfterEveryLeg(int sizes, Game game) {
    Chance chance(game);
    TourBox box;
    const TerminalOptions options = Hasty(box);
    Terminal t(box, options);
    t.WaitFor("Exit this program");
    for (const Leg& leg : Tour()) {
        t.Press(leg.keys);
        t.Settle();
        if (!t.Running()) break;
        for (int i = 0; i < sizes; ++i)
            t.Resize(chance.Between(1, 300), chance.Between(1, 500));
        t.Resize(1, 1);
        t.Settle();
        t.Resize(options.rows, options.cols);
        t.WaitUntil([&] { return HasDrawn(t, leg); }, "the picture of the last size");
        t.Settle();
    }
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_TRUE(box.AllSaved());
}

TEST(ResizeStorm, OnEveryScreenChangesNothing) {
    StormAfterEveryLeg(3, Game::kSame);
}

TEST(WholeResizeStorm, OnEveryScreenChangesNothing) {
    StormAfterEveryLeg(1000, Game::kNew);
    std::cout << "FAULTS sizes: " << (Tour().size() - 1) * 1002 << std::endl;
}

// ---- noise on the line ----

// Where the noise starts.
constexpr const char* kWays[] = {
    "",                                       // main menu
    "d<Enter>",                               // question
    "n<Enter>",                               // text entry
    "t<Enter>",                               // time servers
    "i<Enter>",                               // diagnostics
    "s<Enter>",                               // services
    "s<Enter>v<Enter>v<Enter><Down><Enter>",  // password entry
    "1<Enter>",                               // interface
    "1<Enter>c<Enter>",                       // its settings
    "1<Enter>w<Enter>",                       // access points
};

// What the noise consists of, and what it must not do.
struct Noise {
    std::string name;
    std::function<bool(unsigned char)> allowed;  // the bytes that may occur
    std::function<std::string(TourBox&)> wrong;  // describes any forbidden effect
};

// Signal keys end or stop the program, as they should, but would cut the noise short.
bool IsSignalKey(unsigned char byte) {
    return byte == 0x03 || byte == 0x1c || byte == 0x1a;
}

std::string CallsAs(TourBox& box, const std::function<bool(const std::string&)>& wrong) {
    std::string calls;
    for (const std::string& line : box.CallLines())
        if (wrong(line)) calls += line + "\n";
    return calls;
}

// No action may run without ENTER or a mouse click.
std::string AnythingDone(TourBox& box) {
    std::string done = CallsAs(box, [](const std::string& line) {
        // Commands that only read lists are allowed.
        return !line.ends_with("list_networks") && !line.ends_with("scan_result");
    });
    return done + (box.AllUntouched() ? "" : "a file was changed\n");
}

// Actions that ask "Are you sure?" need a yes.
std::string UnconfirmedDone(TourBox& box) {
    std::string done = CallsAs(box, [](const std::string& line) {
        for (const char* asked : {"/etc/init.d/network ", "killall ", "/etc/init.d/service-nscd ",
                                  "/etc/init.d/service-ntpd ", "volkeep-stop", "smbpasswd -x"})
            if (line.starts_with(asked)) return true;
        return line.find(" remove_network ") != std::string::npos;
    });
    return done + (box.NtpUntouched() ? "" : "the time servers were saved\n");
}

std::string NothingWrong(TourBox&) {
    return "";
}

const Noise kNoises[] = {
    {"WithoutEnter",
     [](unsigned char byte) {
         return !IsSignalKey(byte) &&
                std::string("\n\ryYM<").find(static_cast<char>(byte)) == std::string::npos;
     },
     AnythingDone},
    {"WithoutAYes",
     [](unsigned char byte) {
         return !IsSignalKey(byte) &&
                std::string("yYM<").find(static_cast<char>(byte)) == std::string::npos;
     },
     UnconfirmedDone},
    {"OfAnyKind", [](unsigned char) { return true; }, NothingWrong},
};

std::string RandomBytes(Chance& chance, const Noise& noise, int count) {
    std::string bytes;
    while (static_cast<int>(bytes.size()) < count) {
        const auto byte = static_cast<unsigned char>(chance.Between(0, 255));
        if (noise.allowed(byte)) bytes += static_cast<char>(byte);
    }
    return bytes;
}

// Sends noise at one place while the program runs; returns the number of bytes.
int MakeNoise(TourBox& box, Chance& chance, const Noise& noise, const char* way, int bytes) {
    SCOPED_TRACE(noise.name + " after \"" + way + "\"");
    box.Reset();
    Terminal t(box, Hasty(box));
    t.WaitFor("Exit this program");
    t.Press(way);
    t.Settle();
    box.ForgetCalls();
    int sent = 0;
    while (sent < bytes && t.Running()) {
        const int size = std::min(bytes - sent, chance.Between(1, 500));
        // Ctrl-Q continues output that Ctrl-S has stopped; sent twice, in case Ctrl-V has quoted
        // the first.
        t.SendBytes(RandomBytes(chance, noise, size) + "\x11\x11");
        t.Settle(60);
        sent += size;
    }
    EXPECT_EQ(noise.wrong(box), "");
    const Ending ending = EndTour(t);
    EXPECT_THAT(ending, AnyOf(Exited(0), Exited(1), Exited(130), Exited(131)));
    EXPECT_EQ(TerminalDamage(t), "");
    return sent;
}

TEST(Noise, NeverEndsTheProgramBadlyOrActsUnasked) {
    Chance chance(Game::kSame);
    TourBox box;
    for (const Noise& noise : kNoises)
        for (const char* way : kWays)
            MakeNoise(box, chance, noise, way, 150);
}

class WholeNoise : public testing::TestWithParam<int> {};

TEST_P(WholeNoise, NeverEndsTheProgramBadlyOrActsUnasked) {
    const Noise& noise = kNoises[GetParam()];
    Chance chance(Game::kNew);
    TourBox box;
    constexpr int kMegabyte = 1000000;
    int sent = 0, programs = 0;
    for (; sent < kMegabyte && !HasFailure(); ++programs)
        sent += MakeNoise(box, chance, noise,
                          kWays[static_cast<size_t>(programs) % std::size(kWays)], 20000);
    std::cout << "FAULTS noise " << noise.name << ": " << sent << " bytes to " << programs
              << " programs" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Whole, WholeNoise, testing::Range(0, 3),
                         [](const auto& each) { return kNoises[each.param].name; });

}  // namespace
}  // namespace harness::faults
