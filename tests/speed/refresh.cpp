// How long a refresh of many interfaces takes, with nobody at the keys and with somebody.
#include <algorithm>

#include "command_watch.h"
#include "network.h"
#include "sections.h"

namespace {

constexpr int kCards = 64;
constexpr int kClock = 2;  // a refresh is due every 2.5 seconds

// Presses a cursor key every 50 ms: down, up, down.
class SteadyKeys {
  public:
    explicit SteadyKeys(Watched& program) : program_(program) {}

    void Tick() {
        constexpr double kEvery = 0.05;
        constexpr int kFirstLine = 5;
        const int line = kFirstLine + (down_ ? 1 : 0);
        if (awaited_ && program_.IsSelected(line)) {
            seconds.push_back(program_.last_byte() - pressed_);
            awaited_ = false;
        }
        if (awaited_ || harness::Now() < pressed_ + kEvery) return;
        down_ = !down_;
        pressed_ = program_.Send(Keys(down_ ? "<Down>" : "<Up>"));
        awaited_ = true;
    }

    std::vector<double> seconds;

  private:
    Watched& program_;
    bool down_ = false;
    bool awaited_ = false;
    double pressed_ = 0;
};

Figure Compare(const std::string& what, const std::vector<double>& commands,
               const std::vector<double>& program, double most) {
    return {.what = what,
            .floor = "commands " + Milliseconds(Median(commands)),
            .program = Milliseconds(Median(program)),
            .measured = Median(program) / Median(commands),
            .most = most};
}

}  // namespace

void Refreshes::WatchOne(Watched& program, CommandWatch& watch,
                         const std::function<void()>& meanwhile) {
    const double before = program.ProcessorSeconds();
    watch.WaitForRefresh(program, meanwhile);
    seconds.push_back(std::max(watch.last(), program.last_picture()) - watch.first());
    processor.push_back(program.ProcessorSeconds() - before);
}

Figures MeasureRefresh(const Amounts& amounts) {
    EnterNetwork(kCards);
    const LastRow last = LastRowOf(kCards);
    CommandWatch watch;
    std::vector<double> commands;
    Refreshes quiet;
    {
        // A fast clock takes processor time itself.
        Watched program(TheProgram());
        program.WaitForRow(last.line, last.text);
        for (int round = 0; round < amounts.refresh_rounds; ++round) {
            quiet.WatchOne(program, watch);
            commands.push_back(SecondsOfCommands(kCards));
        }
    }
    Watched program(WithFastClock(TheProgram(), kClock));
    program.WaitForRow(last.line, last.text);
    SteadyKeys keys(program);
    Refreshes busy;
    for (int round = 0; round < amounts.refresh_rounds; ++round)
        busy.WatchOne(program, watch, [&] { keys.Tick(); });
    return {Compare("A refresh, nobody at the keys", commands, quiet.seconds, 1.25),
            Compare("A refresh, a key every 50 ms", commands, busy.seconds, 2),
            {.what = "Key to paint meanwhile, slowest of " + std::to_string(keys.seconds.size()),
             .program = "median " + Milliseconds(Median(keys.seconds)),
             .measured = Quantile(keys.seconds, 1) * 1e3,
             .most = 20,
             .unit = "ms"},
            {.what = "Processor time of the program itself, nobody at the keys",
             .program = Milliseconds(Median(quiet.processor)),
             .measured = Median(quiet.processor) * 1e3,
             .most = 5,
             .unit = "ms"}};
}
