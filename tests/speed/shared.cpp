#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "keys.h"
#include "network.h"
#include "sections.h"
#include "terminal.h"

namespace {

constexpr int kFirstLine = 5;
constexpr double kPaintedTogether = 0.003;
constexpr double kKeyPatience = 10;

std::string RowsFile(int cards) {
    std::string path = "/tmp/rows." + std::to_string(cards);
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (file == nullptr) return path;
    const MainMenu menu = ExpectedMenu(cards);
    for (const std::string& title : menu.titles)
        std::fprintf(file, "%s\n", title.c_str());
    for (const Row& row : menu.rows)
        std::fprintf(file, "%c%c%s\n", row.key, row.kind, row.text.c_str());
    std::fclose(file);
    return path;
}

}  // namespace

Command On(const char* terminal, Command command) {
    command.terminal = terminal;
    return command;
}

Command TheProgram() {
    return {{harness::TestedProgram()}};
}

Command TheFloor(int cards, Floor floor) {
    return {{floor == Floor::kCxx ? SPEED_FLOOR_CXX : SPEED_FLOOR, RowsFile(cards)}};
}

Command WithFastClock(Command command, int times) {
    command.environment["LD_PRELOAD"] = SPEED_CLOCK;
    command.environment["FAST_CLOCK"] = std::to_string(times);
    return command;
}

LastRow LastRowOf(int cards, int lines) {
    const std::vector<Row> rows = ExpectedMenu(cards).rows;
    size_t last = std::min(rows.size(), static_cast<size_t>(lines - 6)) - 1;
    while (rows[last].text.empty())
        --last;
    return {static_cast<int>(last) + kFirstLine, "    " + rows[last].text};
}

double FirstScreen(const Command& command, int cards) {
    const LastRow last = LastRowOf(cards);
    Watched program(command);
    return program.WaitForRow(last.line, last.text) - program.started();
}

double PressAndWait(Watched& program, const std::string& key) {
    const double pressed = program.Send(key);
    program.Read(kKeyPatience);
    program.ReadUntilQuiet(kPaintedTogether);
    return program.last_byte() - pressed;
}

std::string StandIn(const std::string& name, const std::string& script) {
    static int number = 0;
    const std::string folder = "/tmp/stand-in." + std::to_string(++number);
    mkdir(folder.c_str(), 0755);
    const std::string path = folder + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (file == nullptr) return folder;
    std::fprintf(file, "#!/bin/sh\n%s\n", script.c_str());
    std::fclose(file);
    chmod(path.c_str(), 0755);
    return folder;
}

std::string PathWith(const std::string& folder) {
    return folder + ":" + std::getenv("PATH");
}

std::string Keys(const std::string& keys, const std::string& terminal) {
    std::string error;
    std::string bytes;
    for (const harness::KeyPress& press : harness::KeyPresses(terminal, keys, error))
        bytes += press.bytes;
    return bytes;
}
