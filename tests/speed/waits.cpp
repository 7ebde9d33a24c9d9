// Whether the screen always responds: keys at random moments while the program queries many
// interfaces, also with an `ip` that takes a second.
#include <algorithm>
#include <random>

#include "network.h"
#include "sections.h"
#include "spawn.h"

namespace {

constexpr int kCards = 64;
constexpr int kFirstLine = 5;
constexpr int kServicesLine = kFirstLine + 6;
// A refresh is due every 1.25 seconds. A command has hung after 2.5: longer than the slow `ip`
// takes.
constexpr int kClock = 4;
constexpr double kPatience = 10;
constexpr double kMost = 20;  // milliseconds

// Presses the cursor keys and waits for the effect of each.
class Finger {
  public:
    Finger(Watched& program, int line) : program_(program), line_(line) {}

    // Presses once after a random pause; the next key goes in the other direction.
    void Press() {
        program_.ReadFor(pause_(chance_));
        const double pressed = program_.Send(down_ ? keys_down_ : keys_up_);
        line_ += down_ ? 1 : -1;
        down_ = !down_;
        while (!program_.IsSelected(line_) && harness::Now() < pressed + kPatience)
            program_.Read(kPatience);
        seconds.push_back(program_.last_byte() - pressed);
    }

    void PressFor(double how_long) {
        const double end = harness::Now() + how_long;
        while (harness::Now() < end)
            Press();
    }

    std::vector<double> seconds;

  private:
    Watched& program_;
    int line_;
    const std::string keys_down_ = Keys("<Down>");
    const std::string keys_up_ = Keys("<Up>");
    bool down_ = true;
    std::mt19937 chance_{std::random_device{}()};
    std::uniform_real_distribution<double> pause_{0, 0.03};
};

void Append(std::vector<double>& all, const std::vector<double>& more) {
    all.insert(all.end(), more.begin(), more.end());
}

struct FirstKeys {
    std::vector<double> early;  // for keys pressed while the screen may still be empty
    std::vector<double> later;
};

// From the moment at which the program has taken over the terminal.
void PressWhileFirstBuilt(const Command& command, double how_long, FirstKeys& keys) {
    constexpr double kStarting = 0.03;
    Watched program(command);
    program.Read(kPatience);
    program.ReadFor(kStarting);
    Finger finger(program, kFirstLine);
    finger.Press();
    Append(keys.early, finger.seconds);
    finger.seconds.clear();
    finger.PressFor(how_long);
    Append(keys.later, finger.seconds);
}

// From the moment at which another screen is left.
std::vector<double> WhileRebuilding(Watched& program, double how_long) {
    program.Send("s");
    while (!program.IsSelected(kServicesLine))
        program.Read(kPatience);
    program.Send(Keys("<Enter>"));
    while (program.Row(kServicesLine).find("Services") != std::string::npos)
        program.Read(kPatience);
    program.ReadUntilQuiet(0.02);
    program.Send(Keys("<Backspace>"));
    Finger finger(program, kServicesLine);
    finger.PressFor(how_long);
    return finger.seconds;
}

Figure Worst(const std::string& what, const std::vector<double>& seconds) {
    const auto late = std::count_if(seconds.begin(), seconds.end(),
                                    [](double each) { return each * 1e3 > kMost; });
    return {
        .what = what + ", slowest of " + std::to_string(seconds.size()) + " keys",
        .program = "median " + Milliseconds(Median(seconds)) + ", late: " + std::to_string(late),
        .measured = Quantile(seconds, 1) * 1e3,
        .most = kMost,
        .unit = "ms"};
}

// The program with an `ip` that takes that long to answer.
Command ProgramWith(double answer) {
    Command command = TheProgram();
    if (answer > 0) {
        command.environment["PATH"] = PathWith(
            StandIn("ip", "sleep " + Number(answer, "") + "; PATH=${PATH#*:} exec ip \"$@\""));
    }
    return command;
}

void MeasureWith(double answer, const Amounts& amounts, Figures& figures) {
    const std::string prefix =
        answer > 0 ? "`ip` takes " + Number(answer, "s") + ": " : "`ip` answers at once: ";
    const double busy = 0.3 + 2.5 * answer;  // the list, then the addresses
    const Command command = ProgramWith(answer);
    FirstKeys first;
    std::vector<double> anew;
    for (int visit = 0; visit < amounts.wait_visits; ++visit)
        PressWhileFirstBuilt(command, busy, first);

    const LastRow last = LastRowOf(kCards);
    Watched refreshing(WithFastClock(command, kClock));
    refreshing.WaitForRow(last.line, last.text);
    Finger finger(refreshing, kFirstLine);
    for (int press = 0; press < amounts.wait_presses; ++press)
        finger.Press();
    Watched program(command);
    program.WaitForRow(last.line, last.text);
    for (int visit = 0; visit < amounts.wait_visits; ++visit)
        Append(anew, WhileRebuilding(program, busy));
    figures.push_back(Worst(prefix + "before the first rows appear", first.early));
    figures.push_back(Worst(prefix + "on the first rows", first.later));
    figures.push_back(Worst(prefix + "refreshes", finger.seconds));
    figures.push_back(Worst(prefix + "back from an action", anew));
}

}  // namespace

Figures MeasureWaits(const Amounts& amounts) {
    EnterNetwork(kCards);
    Figures figures;
    for (double answer : {0.0, amounts.wait_answer})
        MeasureWith(answer, amounts, figures);
    return figures;
}
