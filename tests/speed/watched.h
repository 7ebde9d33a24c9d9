// A program on a terminal of its own, watched by the clock.
//
//     Watched program({kProgram});
//     const double first = program.WaitForRow(22, "Exit this program") - program.started();
//
// Every read of what the program draws is timed as it arrives; the picture is worked out only when
// it is looked at, so that watching costs the same for every program.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "emulator.h"
#include "spawn.h"

struct Command {
    std::vector<std::string> words;                       // the program's path, then its arguments
    std::map<std::string, std::string> environment = {};  // on top of the fixed one
    std::string terminal = "xterm-1003";
};

// What a child can tell this process.
using SharedNumber = std::unique_ptr<double, void (*)(double*)>;
SharedNumber MakeSharedNumber();

class Watched {
  public:
    static constexpr int kRows = 24, kColumns = 80;

    explicit Watched(const Command& command);
    ~Watched();  // kills the program
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    pid_t pid() const { return pid_; }
    double started() const { return *started_; }     // when it was executed, as Now() tells
    double last_byte() const { return last_byte_; }  // when the last byte came
    long bytes() const { return bytes_; }            // how many came so far

    // Waits so long for something to be drawn, and takes it. False when nothing came.
    bool Read(double seconds);
    // Takes all until nothing has come for so long.
    void ReadUntilQuiet(double seconds);
    // Takes all for so long.
    void ReadFor(double seconds);
    // Takes all until the program has ended.
    void ReadToEnd();
    // Takes all until that row shows exactly that text and nothing more comes. Returns when the
    // last byte came.
    double WaitForRow(int row, const std::string& text);

    // Sends the bytes; returns the time just before.
    double Send(const std::string& bytes);

    std::string Row(int row);
    std::string Picture();     // all rows with their styles, for comparing
    bool IsSelected(int row);  // whether the row is painted as the selected one
    bool EverShowed(const std::string& text) const { return all_.find(text) != std::string::npos; }
    double ProcessorSeconds() const;  // its own, so far
    // A field of its file below /proc, e.g. VmRSS of status.
    long MemoryKilobytes(const std::string& file, const std::string& field) const;

  private:
    void FeedEmulator();

    SharedNumber started_;
    pid_t pid_ = -1;
    harness::Descriptor master_;
    harness::Emulator emulator_;
    std::string all_;  // what has come
    size_t fed_ = 0;   // how much of it the emulator has seen
    double last_byte_ = 0;
    long bytes_ = 0;
};
