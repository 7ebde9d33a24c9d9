// The operator's hands and eyes: a program on a pseudo-terminal of its own inside a Machine.
//
//     Machine box;
//     Terminal t(box);                        // the program, 24 rows by 80 columns
//     t.WaitFor("Exit this program");
//     t.Press("<Down>u");
//     t.WaitSelected("Update interfaces");
//     EXPECT_EQ(t.Cell(7, 4).bg, kBlue);
//     t.Press("<C-c>");
//     EXPECT_EQ(t.WaitExit(), Exited(130));
//     EXPECT_TRUE(t.LineMode());
//
// Hands. Keys and mouse events are written at once, without waiting for an effect: the program
// reads ahead as it would with a fast typist. What follows from a key is awaited with one of the
// WaitFor... functions; that nothing follows, with Settle() and a look at the screen. Only after
// <Esc> the next key is held back until the program has taken the ESC and 60 ms have passed,
// because a terminal's keys begin with the same byte.
//
// Eyes. A wait looks at finished pictures only: when the program sleeps (waits for a key, a
// command, a clock) and all that it has written is on the emulated screen. The program here is what
// stands in the terminal's foreground: a shell, or the job that it has put there. A wait in vain
// ends the test and prints the screen with its styles, the cursor and the commands that ran. A test
// that fails otherwise gets the same print when its Terminal goes.
//
// All rows and columns count from 0.
#pragma once

#include <poll.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "emulator.h"
#include "failure.h"
#include "keys.h"
#include "machine.h"
#include "spawn.h"

namespace harness {

struct TerminalOptions {
    int rows = 24, cols = 80;  // 0 by 0: a line that reports no size (the emulator has 24 by 80)
    std::string term = "xterm-256color";  // TERM, and the keyboard; "" leaves TERM out
    bool latin1 = false;                  // the terminal shows Latin-1 bytes instead of UTF-8
    // Set on top of the fixed environment (PATH, HOME, SHELL, LANG=C.UTF-8, TERM).
    std::map<std::string, std::string> environment = {};
    std::vector<std::string> arguments = {};
    std::string program = {};  // its path; empty: the program under test
    uid_t user = 0;
    std::vector<int> ignored_signals = {};  // e.g. {SIGHUP}; all others at their defaults
    std::string input = {};  // a path inside, read as standard input instead of the terminal
};
inline TerminalOptions OfSize(int rows, int cols) {
    TerminalOptions options;
    options.rows = rows;
    options.cols = cols;
    return options;
}

// How a program ended: by itself with a status, or killed by a signal.
struct Ending {
    int status = -1;
    int signal = 0;
    bool operator==(const Ending&) const = default;
};
inline Ending Exited(int status) {
    return {status, 0};
}
inline Ending Killed(int signal) {
    return {-1, signal};
}
std::ostream& operator<<(std::ostream& out, const Ending& ending);

class Terminal {
  public:
    explicit Terminal(Machine& machine, const TerminalOptions& options = {},
                      Place place = Place::current());
    ~Terminal();  // kills the program when it still runs
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // ---- hands ----

    // Keys by name, as the terminal's type sends them: "<Down><Enter>u<C-c>" (names: keys.h).
    void Press(const std::string& keys, Place place = Place::current());
    void Type(const std::string& text);  // every character as it stands, '<' too
    void SendBytes(const std::string& bytes);
    void SendSlowly(const std::string& bytes, int milliseconds_between);
    // The mouse speaks only as the program has asked it to, as on a real terminal: with no mouse
    // reporting set, or for motion without mode 1003, nothing is sent.
    void Hover(int row, int col);
    void MousePress(int row, int col);
    void MouseRelease(int row, int col);
    void Click(int row, int col);        // press and release in one go
    void DoubleClick(int row, int col);  // twice that
    void Resize(int rows, int cols);     // the program gets its SIGWINCH from the kernel
    void Signal(int number);             // to the program alone
    void HangUp();                       // the terminal goes away; its last screen stays readable

    // ---- waiting ----

    static constexpr double kPatience = 10;  // seconds

    void WaitFor(const std::string& text, double seconds = kPatience,
                 Place place = Place::current());
    void WaitForGone(const std::string& text, double seconds = kPatience,
                     Place place = Place::current());
    void WaitSelected(const std::string& text, double seconds = kPatience,
                      Place place = Place::current());
    void WaitUntil(const std::function<bool()>& condition, const std::string& what,
                   double seconds = kPatience, Place place = Place::current());
    // Until the program has taken every byte sent, waits for the next one, and has drawn all that
    // followed: the moment to assert that a key changed nothing. (A program that left the terminal
    // to a command is waited for, too.)
    void Settle(double seconds = kPatience, Place place = Place::current());
    // Lets the program run for a stretch of time and keeps reading what it draws. Only for what
    // time itself is about: refreshes, processor time, a pause that must not be shorter.
    void RunFor(double seconds);
    Ending WaitExit(double seconds = kPatience, Place place = Place::current());

    // ---- eyes ----

    int rows() const;
    int cols() const;
    // A row's text without trailing blanks; "" for a row that does not exist.
    std::string Row(int row) const;
    std::vector<std::string> Screen() const;
    bool Shows(const std::string& text) const;
    // The first row that holds the text, and the column (in cells) where it begins; -1 for none.
    int Find(const std::string& text) const;
    int FindColumn(const std::string& text) const;
    harness::Cell Cell(int row, int col) const;
    // The styles along a row, e.g. "0-3 white/black; 4-78 white/blue bold". Plain cells are left
    // out, and the row's blank end counts with the style that it has.
    std::string Style(int row) const;
    // The first row with a cell on blue, else the first with a reversed cell, else -1.
    int SelectedRow() const;
    std::string Selected() const;  // its text without leading and trailing blanks
    int CursorRow() const;
    int CursorCol() const;
    bool CursorVisible() const;
    int Bells() const;
    // After the program has ended or left for a command, Screen() is the plain screen again.
    bool AltScreen() const;
    // Those of the modes 1000, 1002, 1003 (what is reported) and 1006 (how) that are set.
    std::vector<int> MouseReporting() const;
    // Everything written to the terminal since the start or the last Mark().
    std::string Output() const;
    void Mark();
    // Whether the terminal takes whole lines and echoes them now, as a shell expects it.
    bool LineMode() const;
    // All of the above as a report: rows with their styles, cursor, state of the program.
    std::string Picture() const;

    // ---- the process ----

    pid_t pid() const { return pid_; }
    bool Running();
    double CpuSeconds() const;  // of the program itself, used so far
    int Children() const;       // running commands of the program
    Machine& machine() { return machine_; }

    // For Machine: reads what is there; says which descriptors to wait on.
    void Serve();
    void AddWaiting(std::vector<pollfd>& waiting) const;

  private:
    void Start(const Place& place);
    void Send(const std::string& bytes);
    void SendMouse(MouseEvent event, int row, int col);
    void WaitAfterEscape();
    bool Drain();
    bool InputTaken() const;
    pid_t FrontProcess() const;
    bool Asleep() const;
    bool AwaitsKey() const;
    bool Await(const std::function<bool()>& condition, double seconds);
    std::string StyleBut(int row, const harness::Cell& usual) const;
    harness::Cell UsualStyle() const;
    void FailOnRuntimeError() const;
    [[noreturn]] void FailWith(const std::string& what, const Place& place);
    void CollectEnding(bool wait);

    Machine& machine_;
    TerminalOptions options_;
    Descriptor master_;
    Descriptor slave_;  // kept, so that the terminal's state can be read after the program's end
    Descriptor process_;
    pid_t pid_ = -1;
    std::optional<Ending> ending_;
    double ending_cpu_ = 0;
    Emulator emulator_;
    std::string output_;
    bool escape_sent_ = false;
    bool pictured_ = false;
};

}  // namespace harness
