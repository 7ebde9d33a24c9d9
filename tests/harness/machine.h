// A private machine for one test, with its own files, host name, interfaces and processes; gone
// when the test ends.
//
//     Machine box;                                        // only "lo", plain files
//     box.AddTap("eth0");                                 // real, with a carrier
//     box.Sh("ip link set eth0 up; ip addr add 10.0.0.2/24 dev eth0");
//     box.StandIn("/etc/init.d/network", "done\n");       // prints "done", records its calls
//     Terminal t(box);                                    // terminal.h: runs the program in it
//     ...
//     box.WaitForCalls("/etc/init.d/network", 1);
//     EXPECT_EQ(box.Calls("/etc/init.d/network")[0].Line(), "/etc/init.d/network start all");
//
// appliance/enter creates the machine. For a user who is not root it uses a user namespace, and
// tests that need a tap or another user are skipped. Programs and files are reached through setns
// and /proc/PID/root, so nothing appears on the host. Anything that goes wrong (a failing command,
// a missing file, a wait that times out) ends the test with a report at the test's own line.
//
// Programs built with sanitizers leave their reports in the machine or on the terminal. When either
// ends, the reports become failures of the test.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "spawn.h"

namespace harness {

class Terminal;

enum class Kind {
    kBare,  // only "lo"; the appliance's files, without the demo's interfaces
    kDemo,  // the demo appliance as operators get it
};

// The state of a command's terminal when the command started.
enum class Mode {
    kLine,    // line by line, with echo: the plain terminal
    kRaw,     // key by key or without echo: a full-screen program
    kAbsent,  // no controlling terminal, and standard input is not a terminal
};

// One recorded call of a stand-in command.
struct Call {
    double seconds = 0;             // start time, on the clock of Now()
    std::string name;               // the stand-in's name as given to StandIn
    std::vector<std::string> args;  // exactly as passed by the shell
    Mode mode = Mode::kAbsent;
    // Whether it started with the signal ignored; otherwise the signal was at its default.
    bool sigchld_ignored = false, sigint_ignored = false, sigquit_ignored = false;

    std::string Line() const;  // "name arg arg"
};

// For failure reports: "line  ip 'addr' 'show'".
std::ostream& operator<<(std::ostream& out, const Call& call);

class Machine {
  public:
    explicit Machine(Kind kind = Kind::kBare, Place place = Place::current());
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Runs a command line with sh in the machine, as root and without a terminal, and returns its
    // standard output. A status other than 0 ends the test and reports both outputs. It uses the
    // real tools: stand-ins in PATH apply only to programs on terminals.
    std::string Sh(const std::string& command, Place place = Place::current());

    // Files in the machine. Write creates or replaces the file (the folder must exist) and sets its
    // mode. Remove removes a file or a whole folder, and does nothing if there is none.
    // MakeDirectory also creates the parent folders.
    void Write(const std::string& path, const std::string& text, mode_t mode = 0644,
               Place place = Place::current());
    std::string Read(const std::string& path, Place place = Place::current());
    bool Exists(const std::string& path) const;
    void Remove(const std::string& path);
    void MakeDirectory(const std::string& path);
    // The path by which this process reaches the same file, for anything else.
    std::string OutsidePath(const std::string& path) const;

    // Stand-ins for commands. A plain name goes first in PATH; a name with a leading '/' goes to
    // that path, with its folders. Setting one again takes effect at once, even while the program
    // runs. Each call is recorded; then StandIn prints the reply and exits.
    void StandIn(const std::string& name, const std::string& reply = "", int exit_status = 0);
    // Runs the shell script with the call's arguments ($1 ...), input, output and terminal, and
    // exits with its status. The script reaches the real tool by its full path, or through Record.
    void StandInScript(const std::string& name, const std::string& script);
    // Runs the real command of that name with the same arguments.
    void Record(const std::string& name);

    // The calls since the start or the last ForgetCalls, oldest first.
    std::vector<Call> Calls();
    std::vector<Call> Calls(const std::string& name);
    // The same as text, one Line() per call, for EXPECT_EQ and EXPECT_THAT.
    std::vector<std::string> CallLines();
    std::vector<std::string> CallLines(const std::string& name);
    void ForgetCalls();
    // Waits until the name has been called at least n times.
    void WaitForCalls(const std::string& name, size_t n, double seconds = 10,
                      Place place = Place::current());
    // Waits for any other condition, such as the content of a file.
    void WaitUntil(const std::function<bool()>& condition, const std::string& what,
                   double seconds = 10, Place place = Place::current());

    // Real interfaces, initially down. A tap has a carrier while it is plugged in; SetLink changes
    // that. A bridge without ports has a carrier while it is up.
    void AddTap(const std::string& name, bool carrier = true, Place place = Place::current());
    void AddBridge(const std::string& name, Place place = Place::current());
    void SetLink(const std::string& tap, bool carrier, Place place = Place::current());

    // What the cards answer to wireless and Ethernet requests from programs on terminals.
    // appliance/cards.cpp reads the description for every request, so it may change while the
    // program runs. Programs started before the first call of Cards ask the kernel.
    //
    //     box.Cards("wlan0 name IEEE 802.11\n"
    //               "wlan0 essid studio\n"
    //               "wlan0 freq 2437 6\n");
    void Cards(const std::string& description);
    // The rfkill switch of an interface below /sys/class/net, as the contents of its files; nullopt
    // leaves a file out. From the first call on, /sys/class/net holds only what these calls create.
    using FileText = std::optional<std::string>;
    void RfkillFiles(const std::string& name, const FileText& state, const FileText& hard,
                     const FileText& soft);

    // For terminal.cpp and for failure reports.
    const Doorway& door() const { return door_; }
    bool has_cards() const { return has_cards_; }
    std::string CallLog();
    void Attach(Terminal* terminal);
    void Detach(Terminal* terminal);
    // Serves all terminals of the machine until the condition holds (returns true) or the time is
    // up (false). The condition is checked after every output of a program, after every recorded
    // call and at least every 20 ms, but never while output is waiting to be read.
    bool Await(const std::function<bool()>& condition, double seconds);
    // Creates a Latin-1 locale in the machine and returns the variables that select it.
    std::map<std::string, std::string> Latin1Locale(Place place = Place::current());

    // The environment of started programs: PATH, locale, sanitizer options, cards.
    std::map<std::string, std::string> Environment() const;

  private:
    void Start(Kind kind, const Place& place);
    void PutStandIn(const std::string& name, const std::string& part, const std::string& text);
    void ReadCalls();

    Descriptor life_;  // socket to the machine's first process; closing it ends the machine
    Doorway door_;
    pid_t init_ = -1;   // that process, by its pid in this namespace
    pid_t enter_ = -1;  // appliance/enter, our child
    Descriptor enter_output_;
    Descriptor watch_;      // inotify on the log of calls
    std::string log_tail_;  // an incomplete record
    size_t log_read_ = 0;
    std::vector<Call> calls_;
    std::map<std::string, Descriptor> taps_;
    std::vector<Terminal*> terminals_;
    bool has_cards_ = false;
};

}  // namespace harness
