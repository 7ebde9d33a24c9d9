// A text that nobody else may read: a typed password, or data that contains one. It stays at one
// address, is never copied, and is overwritten when it is destroyed. While one exists, the program
// leaves no core dump, and unprivileged processes can't trace it.
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
    // An empty secret with room for that many bytes. It never grows, because growing would leave a
    // copy.
    explicit Secret(std::size_t room);

    // Moving passes on the only copy; the moved-from secret is empty and has no room.
    Secret(Secret&& other) noexcept = default;
    Secret& operator=(Secret&& other) noexcept = default;

    bool empty() const { return text().empty(); }
    std::size_t size() const { return text().size(); }
    std::string_view text() const;
    const char* c_str() const { return text().data(); }

    // Appends as much as there is room for.
    void Append(std::string_view more);
    // Overwrites the last byte; does nothing if there is none.
    void DropLast();

  private:
    // The bytes, followed by a NUL; overwritten on destruction.
    struct Storage;
    struct End {
        void operator()(Storage* storage) const;
    };
    std::unique_ptr<Storage, End> storage_;
};
