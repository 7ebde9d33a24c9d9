// The terminal emulator behind a Terminal: libvterm, with what it leaves out added around it.
//
// Two things the tests need are not in libvterm's cells: the dim attribute (taken for blink on the
// way in, since nothing here blinks) and the modes a program has set, mouse reporting among them.
// A Latin-1 terminal's bytes become UTF-8 on the way in. Cells that are erased take the attributes
// of the moment: the library does so before version 0.3 only, so here blanks are written instead.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>

struct VTerm;
struct VTermScreen;

namespace harness {

// Colours of a cell. kDefault is the terminal's own: the program chose none.
enum Colour { kDefault = -1, kBlack, kRed, kGreen, kYellow, kBlue, kMagenta, kCyan, kWhite };

// One character cell. An untouched or blank cell has the text " ". What curses leaves behind for
// blanks tells nothing about bold and dim (a terminal shows neither on a blank), only about the
// colours, reverse and underline.
struct Cell {
    std::string text;  // UTF-8; empty for the right half of a wide character
    int fg = kDefault, bg = kDefault;
    bool bold = false, dim = false, reverse = false, underline = false;

    bool SameStyle(const Cell& other) const;
    bool Plain() const;         // the terminal's default colours and no attribute
    std::string Style() const;  // e.g. "white/blue bold"; "" when plain
};

class Emulator {
  public:
    // `reply` takes what the terminal answers to requests of the program.
    Emulator(int rows, int cols, bool latin1, std::function<void(const std::string&)> reply);
    ~Emulator();
    Emulator(const Emulator&) = delete;
    Emulator& operator=(const Emulator&) = delete;

    void Feed(const std::string& bytes);
    void Resize(int rows, int cols);

    int rows() const { return rows_; }
    int cols() const { return cols_; }
    Cell At(int row, int col) const;
    int cursor_row() const;
    int cursor_col() const;
    // The private (DEC) modes that are set, e.g. 25 (cursor shown), 1049, 1003, 1006.
    const std::set<int>& modes() const { return modes_; }
    int bells() const { return bells_; }

  private:
    void FeedSequence(const std::string& sequence);
    void FeedText(const std::string& text);
    void TrackModes(const std::string& sequence);
    bool PenHasAttributes() const;
    void Erase(char final, int argument);
    void Write(const std::string& bytes);

    int rows_, cols_;
    bool latin1_;
    int bells_ = 0;
    VTerm* vterm_ = nullptr;
    VTermScreen* screen_ = nullptr;
    std::function<void(const std::string&)> reply_;
    std::string held_;            // the start of a sequence whose rest is not here yet
    std::set<int> modes_ = {25};  // a terminal starts with its cursor shown
};

}  // namespace harness
