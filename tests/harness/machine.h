// A private machine for one test: own files, host name, interfaces and processes; gone at its end.
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
// The machine is made by appliance/enter; for an ordinary user in a user namespace, where a test
// that needs a tap or another user than root is skipped. What the test starts or opens in it goes
// through the kernel's doors (setns, /proc/PID/root), so nothing of it ever shows on the host.
// Whatever cannot be done (a command that fails, a file that is missing, a wait in vain) ends the
// test with a report at the test's own line.
//
// Programs built with the sanitizers leave their reports in the machine or on the terminal; the
// end of either turns them into failures of the test.
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
    kDemo,  // the demo appliance as an operator gets it
};

// What a command's terminal was like when it started.
enum class Mode {
    kLine,    // whole lines with echo: the plain terminal
    kRaw,     // key by key or without echo: a full-screen program has it
    kAbsent,  // no controlling terminal, and standard input is none
};

// One recorded call of a stand-in.
struct Call {
    double seconds = 0;             // when it started, on the clock of Now()
    std::string name;               // the stand-in's name as given to StandIn
    std::vector<std::string> args;  // exactly as the shell split them
    Mode mode = Mode::kAbsent;
    // Whether it was started with the signal ignored; otherwise the signal was at its default.
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

    // Runs a command line with sh inside, as root, without a terminal, and returns what it printed
    // on standard output. A status other than 0 ends the test with both outputs. It sees the real
    // tools: stand-ins in PATH are for the programs on terminals alone.
    std::string Sh(const std::string& command, Place place = Place::current());

    // Files as seen inside. Write makes or replaces the file (the folder must exist) and sets its
    // mode; Remove takes a file or a whole folder, and does nothing where there is none;
    // MakeDirectory makes the folders above as well.
    void Write(const std::string& path, const std::string& text, mode_t mode = 0644,
               Place place = Place::current());
    std::string Read(const std::string& path, Place place = Place::current());
    bool Exists(const std::string& path) const;
    void Remove(const std::string& path);
    void MakeDirectory(const std::string& path);
    // The same file by a path of this process, for what the above does not do.
    std::string OutsidePath(const std::string& path) const;

    // A recording stand-in for a command. A plain name is put first in PATH; a name with a leading
    // '/' is put at that path (its folders are made). Given again, it changes at once, also while
    // the program runs. A call is recorded as a Call, then:
    void StandIn(const std::string& name, const std::string& reply = "", int exit_status = 0);
    // ... the shell script is run with the call's arguments ($1 ...), input, output and terminal.
    // Its exit status is the command's. The real tool of the same name is found under its full
    // path, or by Record below.
    void StandInScript(const std::string& name, const std::string& script);
    // ... the real command of that name takes over, with the same arguments.
    void Record(const std::string& name);

    // The calls recorded since the start or since ForgetCalls, oldest first.
    std::vector<Call> Calls();
    std::vector<Call> Calls(const std::string& name);
    // The same as text, one Line() for each call: made for EXPECT_EQ and EXPECT_THAT.
    std::vector<std::string> CallLines();
    std::vector<std::string> CallLines(const std::string& name);
    void ForgetCalls();
    // Until the name has been called n times or more.
    void WaitForCalls(const std::string& name, size_t n, double seconds = 10,
                      Place place = Place::current());
    // Until a condition holds that is neither on a screen nor in the log, e.g. a file's content.
    void WaitUntil(const std::function<bool()>& condition, const std::string& what,
                   double seconds = 10, Place place = Place::current());

    // Real interfaces, down at first. A tap has a carrier when it is plugged in; its link state can
    // be changed by SetLink. A bridge without ports has a carrier while it is up.
    void AddTap(const std::string& name, bool carrier = true, Place place = Place::current());
    void AddBridge(const std::string& name, Place place = Place::current());
    void SetLink(const std::string& tap, bool carrier, Place place = Place::current());

    // What the interfaces' cards answer to the wireless and Ethernet requests of programs on
    // terminals: the description that appliance/cards.cpp reads at every request, so it may change
    // while the program runs. Programs started before the first call of Cards never ask it.
    //
    //     box.Cards("wlan0 name IEEE 802.11\n"
    //               "wlan0 essid studio\n"
    //               "wlan0 freq 2437 6\n");
    void Cards(const std::string& description);
    // The radio-kill switch of an interface below /sys/class/net (which from then on holds nothing
    // but what this call puts there): the texts of its files; nullopt leaves the file out.
    using FileText = std::optional<std::string>;
    void RfkillFiles(const std::string& name, const FileText& state, const FileText& hard,
                     const FileText& soft);

    // For terminal.cpp and for reports.
    const Doorway& door() const { return door_; }
    bool has_cards() const { return has_cards_; }
    std::string CallLog();
    void Attach(Terminal* terminal);
    void Detach(Terminal* terminal);
    // Serves all terminals of the machine until the condition holds (true) or the time is over
    // (false). The condition is looked at after every output of a program, every recorded call, and
    // at least every 20 ms; never while output waits to be read.
    bool Await(const std::function<bool()>& condition, double seconds);
    // A Latin-1 locale, made in the machine: the variables to set for a program that shall use it.
    std::map<std::string, std::string> Latin1Locale(Place place = Place::current());

    // The environment that programs start with: PATH, locale, sanitizer options, cards.
    std::map<std::string, std::string> Environment() const;

  private:
    void Start(Kind kind, const Place& place);
    void PutStandIn(const std::string& name, const std::string& part, const std::string& text);
    void ReadCalls();

    Descriptor life_;  // socket to the machine's first process; its end ends the machine
    Doorway door_;
    pid_t init_ = -1;   // that process, as this process numbers it
    pid_t enter_ = -1;  // appliance/enter, our child
    Descriptor enter_output_;
    Descriptor watch_;      // inotify on the log of calls
    std::string log_tail_;  // a record not yet complete
    size_t log_read_ = 0;
    std::vector<Call> calls_;
    std::map<std::string, Descriptor> taps_;
    std::vector<Terminal*> terminals_;
    bool has_cards_ = false;
};

}  // namespace harness
