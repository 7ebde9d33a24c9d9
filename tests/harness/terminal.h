// A program on a pseudo-terminal of its own inside a Machine: types its keys and reads its screen.
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
// Input. Keys and mouse events are written at once, without waiting for an effect, as by a fast
// typist. Wait for the effect of a key with one of the WaitFor... functions; check that a key has
// no effect with Settle() and a look at the screen. Only after <Esc> is the next key held back,
// until the program has taken the ESC and 60 ms have passed: other keys start with the same byte.
//
// Output. A wait looks only at complete screens: the program sleeps (waits for a key, a command or
// a clock), and the emulator has shown everything it wrote. "The program" is what runs in the
// terminal's foreground: a shell, or the job it runs there. A wait that times out ends the test and
// prints the screen with its styles, the cursor and the commands that ran. A test that fails in
// another way prints the same when its Terminal is destroyed.
//
// Rows and columns count from 0.
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
    int rows = 24, cols = 80;             // 0 by 0: reports no size (emulated as 24 by 80)
    std::string term = "xterm-256color";  // TERM, and the keyboard; "" leaves TERM out
    bool latin1 = false;                  // a Latin-1 terminal instead of UTF-8
    // Added to the fixed environment (PATH, HOME, SHELL, LANG=C.UTF-8, TERM).
    std::map<std::string, std::string> environment = {};
    std::vector<std::string> arguments = {};
    std::string program = {};  // its path; empty: the program under test
    uid_t user = 0;
    std::vector<int> ignored_signals = {};  // e.g. {SIGHUP}; all others at their defaults
    std::string input = {};  // standard input, a path in the machine; empty: the terminal
};
inline TerminalOptions OfSize(int rows, int cols) {
    TerminalOptions options;
    options.rows = rows;
    options.cols = cols;
    return options;
}

// How a program ended: with an exit status, or killed by a signal.
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

// The path of the program under test: that of this build, or $IFMENU_TESTED_PROGRAM.
std::string TestedProgram();
// Whether it is built with the sanitizers.
bool HasSanitizers();

class Terminal {
  public:
    explicit Terminal(Machine& machine, const TerminalOptions& options = {},
                      Place place = Place::current());
    ~Terminal();  // kills the program if it still runs
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // ---- input ----

    // Keys by name, with the bytes of this terminal type: "<Down><Enter>u<C-c>" (names: keys.h).
    void Press(const std::string& keys, Place place = Place::current());
    void Type(const std::string& text);  // every character literally, even '<'
    void SendBytes(const std::string& bytes);
    // Sends them one by one, `pause` seconds apart. Returns false if this machine was too busy: if
    // a byte was sent more than `most` seconds after the one before.
    bool SendSlowly(const std::string& bytes, double pause, double most);
    // Mouse events are sent only if the program has asked for them, as by a real terminal: none
    // without mouse reporting, no motion without mode 1003.
    void Hover(int row, int col);
    void MousePress(int row, int col);
    void MouseRelease(int row, int col);
    void Click(int row, int col);        // press and release in one go
    void DoubleClick(int row, int col);  // twice that
    void Resize(int rows, int cols);     // the kernel sends SIGWINCH
    void Signal(int number);             // to the program only
    void HangUp();                       // closes the terminal; its last screen stays readable

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
    // Waits until the program has read every byte sent, is waiting for the next one, and has drawn
    // the result: the moment to assert that a key changed nothing. Also waits for a command that
    // the program runs on the plain terminal.
    void Settle(double seconds = kPatience, Place place = Place::current());
    // Presses the keys, waits for the text, and settles: the way to another screen, and back.
    void Go(const std::string& keys, const std::string& text, Place place = Place::current());
    // Lets the program run for that time and keeps reading what it draws. Only for what depends on
    // time itself: refreshes, processor time, the minimum length of a pause.
    void RunFor(double seconds);
    Ending WaitExit(double seconds = kPatience, Place place = Place::current());

    // ---- output ----

    int rows() const;
    int cols() const;
    // The text of a row without trailing blanks; "" if there is no such row.
    std::string Row(int row) const;
    std::vector<std::string> Screen() const;
    bool Shows(const std::string& text) const;
    // The first row that contains the text, and the column (in cells) at which it starts; -1 if
    // none.
    int Find(const std::string& text) const;
    int FindColumn(const std::string& text) const;
    harness::Cell Cell(int row, int col) const;
    // The styles along a row, e.g. "0-3 white/black; 4-78 white/blue bold". Plain cells are left
    // out; trailing blanks count with their style.
    std::string Style(int row) const;
    // The first row with a cell on blue, else the first one with a reversed cell, else -1.
    int SelectedRow() const;
    std::string Selected() const;  // its text without leading and trailing blanks
    int CursorRow() const;
    int CursorCol() const;
    bool CursorVisible() const;
    int Bells() const;
    // False once the program has ended or left for a command; Screen() is then the plain screen.
    bool AltScreen() const;
    // Which of the modes 1000, 1002, 1003 (what is reported) and 1006 (how) are in force.
    std::vector<int> MouseReporting() const;
    // Everything written to the terminal since the start or the last Mark().
    std::string Output() const;
    void Mark();
    // Whether the terminal is in line mode with echo, as a shell expects it.
    bool LineMode() const;
    // All of this as a report: rows with their styles, cursor, state of the program.
    std::string Picture() const;

    // ---- the process ----

    pid_t pid() const { return pid_; }
    bool Running();
    double CpuSeconds() const;  // used by the program itself so far
    int Children() const;       // commands that the program is running
    Machine& machine() { return machine_; }

    // For Machine: reads what has arrived; returns the descriptors to wait for.
    void Serve();
    void AddWaiting(std::vector<pollfd>& waiting) const;

  private:
    void Start(const Place& place);
    void Send(const std::string& bytes);
    void SendMouse(MouseEvent event, int row, int col);
    void WaitAfterEscape();
    bool Drain();
    void DrainToTheEnd();
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
    Descriptor slave_;  // kept open: the terminal's state is read after the program has ended
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
