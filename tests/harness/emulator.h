// The terminal emulator behind a Terminal: libvterm, plus what the tests need beyond it.
//
// - libvterm's cells lack the dim attribute. It is passed in as blink, which nothing here uses.
// - libvterm does not report the modes that a program has set, such as mouse reporting.
// - The bytes of a Latin-1 terminal are converted to UTF-8 before they go in.
// - Erased cells take the current attributes. Only libvterm before 0.3 does that, so blanks are
//   written instead.
// - On a terminal that does not erase with the background colour, cells that are erased or scrolled
//   in take the terminal's own colours.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>

struct VTerm;
struct VTermScreen;

namespace harness {

// Colours of a cell. kDefault means the terminal's own: the program chose none.
enum Colour { kDefault = -1, kBlack, kRed, kGreen, kYellow, kBlue, kMagenta, kCyan, kWhite };

// One character cell. An untouched or blank cell has the text " ". On a blank only the colours,
// reverse and underline count: bold and dim do not show there, and curses leaves any value.
struct Cell {
    std::string text;  // UTF-8; empty for the right half of a wide character
    int fg = kDefault, bg = kDefault;
    bool bold = false, dim = false, reverse = false, underline = false;

    bool SameStyle(const Cell& other) const;
    bool Plain() const;         // the terminal's default colours and no attribute
    std::string Style() const;  // e.g. "white/blue bold"; "" if plain
};

struct EmulatorOptions {
    bool latin1 = false;
    bool erases_with_colour = true;  // terminfo's "bce"
};

class Emulator {
  public:
    // `reply` receives the terminal's answers to the program's requests.
    Emulator(int rows, int cols, const EmulatorOptions& options,
             std::function<void(const std::string&)> reply);
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
    // The private (DEC) modes in force, e.g. 25 (cursor shown), 1049, 1003, 1006.
    const std::set<int>& modes() const { return modes_; }
    int bells() const { return bells_; }

  private:
    void FeedSequence(const std::string& sequence);
    void FeedText(const std::string& text);
    void FeedErasing(const std::string& bytes);
    std::string PenColours() const;
    void TrackModes(const std::string& sequence);
    bool PenHasAttributes() const;
    void Erase(char final, int argument);
    void Write(const std::string& bytes);

    int rows_, cols_;
    EmulatorOptions options_;
    int bells_ = 0;
    VTerm* vterm_ = nullptr;
    VTermScreen* screen_ = nullptr;
    std::function<void(const std::string&)> reply_;
    std::string held_;            // the start of an incomplete sequence
    std::set<int> modes_ = {25};  // initially the cursor is shown
};

}  // namespace harness
