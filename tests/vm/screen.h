// The two screens of the machine with their keyboards: a terminal on a serial line, and the
// console.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "emulator.h"
#include "machine.h"

namespace vm {

// The size of the serial terminal; the console may have fewer rows.
constexpr int kRows = 40;
constexpr int kColumns = 100;

class Screen {
  public:
    virtual ~Screen() = default;
    // Reads what has arrived.
    virtual void Look() = 0;
    // Keys are written as in keys.h: "s<Enter>".
    virtual void Press(const std::string& keys) = 0;
    virtual std::string Row(int row) const = 0;
    // Whether the cell looks like one of the selected row: reversed, or white on blue.
    virtual bool Marked(int row, int column) const = 0;
    virtual int cursor_row() const = 0;
    virtual int cursor_column() const = 0;

    std::string Text() const;
    bool Shows(const std::string& text) const { return Text().find(text) != std::string::npos; }
    void WaitFor(const std::string& text);
    void WaitForGone(const std::string& text);
    // The row that looks selected, among those with text; -1 if there is none or more than one.
    int Selected() const;
    void WaitSelected(const std::string& text);
    // Moves with the arrow keys from the first row to the one with this text, and activates it.
    void Choose(const std::string& text);
};

// A terminal on the serial line of the machine, of the type that the shell was told.
class Line : public Screen {
  public:
    Line(Socket& socket, const std::string& type) : socket_(socket), type_(type) { Clear(); }
    void Look() override;
    void Press(const std::string& keys) override;
    std::string Row(int row) const override;
    bool Marked(int row, int column) const override;
    int cursor_row() const override { return emulator_->cursor_row(); }
    int cursor_column() const override { return emulator_->cursor_col(); }

    void Type(const std::string& bytes) { socket_.Send(bytes); }
    // Starts the program from the shell on the line.
    void Open();
    void Clear();
    size_t bytes() const { return bytes_; }
    const harness::Emulator& emulator() const { return *emulator_; }

  private:
    Socket& socket_;
    std::string type_;
    std::unique_ptr<harness::Emulator> emulator_;
    size_t bytes_ = 0;
};

// The first virtual console, as the kernel reports its contents.
class Console : public Screen {
  public:
    explicit Console(Machine& machine) : machine_(machine) {}
    void Look() override;
    void Press(const std::string& keys) override;
    std::string Row(int row) const override;
    bool Marked(int row, int column) const override;
    int cursor_row() const override { return cursor_row_; }
    int cursor_column() const override { return cursor_column_; }
    void Type(const std::string& text);

  private:
    Machine& machine_;
    int rows_ = 0, columns_ = 0, cursor_row_ = 0, cursor_column_ = 0;
    std::string cells_;
};

}  // namespace vm
