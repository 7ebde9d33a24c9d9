// A program on a terminal of its own, observed with timestamps.
//
//     Watched program({kProgram});
//     const double first = program.WaitForRow(22, "Exit this program") - program.started();
//
// Every piece of output gets a timestamp when it arrives. The screen is computed only when needed,
// so that observing costs the same for every program.
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
    std::map<std::string, std::string> environment = {};  // added to the fixed one
    std::string terminal = "xterm-1003";
    int rows = 24;
};

// What a child can report to this process.
using SharedNumber = std::unique_ptr<double, void (*)(double*)>;
SharedNumber MakeSharedNumber();

class Watched {
  public:
    static constexpr int kColumns = 80;

    explicit Watched(const Command& command);
    ~Watched();  // kills the program
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    pid_t pid() const { return pid_; }
    double started() const { return *started_; }           // time of execution, from Now()
    double last_byte() const { return last_byte_; }        // time of the last byte
    double last_picture() const { return last_picture_; }  // time of the last complete repaint
    long bytes() const { return bytes_; }                  // bytes received so far

    // Waits that long for output, and reads it. False if there was none.
    bool Read(double seconds);
    // Reads everything until there is no output for that long.
    void ReadUntilQuiet(double seconds);
    // Reads everything for that long.
    void ReadFor(double seconds);
    // Reads everything until the program has ended.
    void ReadToEnd();
    // Reads everything until the row shows exactly this text and there is no more output. Returns
    // the time of the last byte.
    double WaitForRow(int row, const std::string& text);

    // Sends the bytes; returns the time just before.
    double Send(const std::string& bytes);

    std::string Row(int row);
    std::string Picture();     // all rows with their styles, for comparisons
    bool IsSelected(int row);  // the row is painted as selected
    bool EverShowed(const std::string& text) const { return all_.find(text) != std::string::npos; }
    double ProcessorSeconds() const;  // used by the program itself so far
    // The number in a field of a file in its /proc folder, e.g. VmRSS (in kB) of status.
    double NumberIn(const std::string& file, const std::string& field) const;

  private:
    void FeedEmulator();

    SharedNumber started_;
    int rows_;
    pid_t pid_ = -1;
    harness::Descriptor master_;
    harness::Emulator emulator_;
    std::string all_;  // all output
    size_t fed_ = 0;   // bytes already passed to the emulator
    double last_byte_ = 0;
    double last_picture_ = 0;
    long bytes_ = 0;
};
