// How soon the effect of a key appears, and the bytes that it sends to the terminal.
#include <random>

#include "network.h"
#include "sections.h"

namespace {

constexpr int kCards = 8;
constexpr int kSteps = 4;  // down, and up again

struct Presses {
    std::vector<double> seconds;
    std::vector<double> bytes[2 * kSteps];  // for each step down and up

    double BytesOfAWay() const {
        double sum = 0;
        for (const std::vector<double>& each : bytes)
            sum += Median(each);  // the median ignores a refresh in between
        return sum;
    }
};

void PressNext(Watched& program, Presses& presses) {
    const size_t place = presses.seconds.size() % (size_t{2} * kSteps);
    const long before = program.bytes();
    presses.seconds.push_back(PressAndWait(program, Keys(place < kSteps ? "<Down>" : "<Up>")));
    presses.bytes[place].push_back(static_cast<double>(program.bytes() - before));
}

// A list of 202 rows on 70 lines, as each terminal scrolls it: every key brings an interface with
// its addresses and a separator.
Figure Scrolling(const char* terminal) {
    constexpr int kLongList = 48;
    constexpr int kLines = 70;
    constexpr int kFirstLine = 5;
    EnterNetwork(kLongList);
    Command command = On(terminal, TheProgram());
    command.rows = kLines;
    const LastRow last = LastRowOf(kLongList, kLines);
    Watched program(command);
    program.WaitForRow(last.line, last.text);
    PressAndWait(program, "e");
    std::vector<double> bytes;
    for (int press = 0; press < kLongList; ++press) {
        const std::string first = program.Row(kFirstLine);
        const long before = program.bytes();
        PressAndWait(program, Keys("<Up>", terminal));
        const auto sent = static_cast<double>(program.bytes() - before);
        if (program.Row(kFirstLine) != first) bytes.push_back(sent);
    }
    return {.what = std::string("Bytes of a key that scrolls, on ") + terminal,
            .program = "most " + Number(Quantile(bytes, 1), "B"),
            .measured = Median(bytes),
            .most = 350,
            .unit = "B",
            .exact = true};
}

Figure Compare(const std::string& what, double floor, double program, double most) {
    return {.what = what,
            .floor = Milliseconds(floor),
            .program = Milliseconds(program),
            .measured = program / floor,
            .most = most};
}

}  // namespace

Figures MeasureKey(const Amounts& amounts) {
    EnterNetwork(kCards);
    const LastRow last = LastRowOf(kCards);
    Watched floor(TheFloor(kCards, Floor::kCxx));
    Watched program(TheProgram());
    floor.WaitForRow(last.line, last.text);
    program.WaitForRow(last.line, last.text);
    const bool same_cells = floor.Picture() == program.Picture();

    Presses of_floor;
    Presses of_program;
    std::mt19937 chance(1);
    std::uniform_real_distribution<double> pause(0, 0.006);
    const int ways = amounts.key_presses / (2 * kSteps) * 2 * kSteps;
    for (int press = 0; press < ways; ++press) {
        floor.ReadFor(pause(chance));
        PressNext(floor, of_floor);
        program.ReadFor(pause(chance));
        PressNext(program, of_program);
    }
    constexpr double kPresses = 2 * kSteps;
    Figures figures = {
        {.what = "The floor paints the same cells",
         .measured = same_cells ? 0.0 : 1.0,
         .most = 0,
         .unit = "differ",
         .exact = true},
        Compare("Key to paint, median", Median(of_floor.seconds), Median(of_program.seconds), 1.15),
        Compare("Key to paint, 99 of 100", Quantile(of_floor.seconds, 0.99),
                Quantile(of_program.seconds, 0.99), 2),
        {.what = "Bytes for a key",
         .floor = Number(of_floor.BytesOfAWay() / kPresses, "B"),
         .program = Number(of_program.BytesOfAWay() / kPresses, "B"),
         .measured = of_program.BytesOfAWay() / of_floor.BytesOfAWay(),
         .most = 1,
         .exact = true},
    };
    for (const char* type : kTerminals)
        figures.push_back(Scrolling(type));
    return figures;
}
