// A text that nobody else may read: a typed password, or what is made of one. It lives in one
// place, never leaves a copy behind, and is overwritten when it ends. As long as there is one, the
// program leaves no core dump, and no process without special rights can trace it.
//
//     Secret line(password.size() + 1);
//     line.Append(password.text());
//     line.Append("\n");
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

class Secret {
  public:
    // An empty secret with room for that many bytes. It never grows: growing would leave a copy.
    explicit Secret(std::size_t room);

    // Moving hands the one copy on; what it was taken from is empty and has no room.
    Secret(Secret&& other) noexcept = default;
    Secret& operator=(Secret&& other) noexcept = default;

    bool empty() const { return text().empty(); }
    std::size_t size() const { return text().size(); }
    std::string_view text() const;
    const char* c_str() const { return text().data(); }

    // What there is no room for is left out.
    void Append(std::string_view more);
    // Overwrites the last byte; does nothing when there is none.
    void DropLast();

  private:
    // The bytes, with a NUL behind the last one; overwritten when it ends.
    struct Storage;
    struct End {
        void operator()(Storage* storage) const;
    };
    std::unique_ptr<Storage, End> storage_;
};
