#include "util/secret.h"

#include <algorithm>
#include <cstring>
#include <vector>

struct Secret::Storage {
    explicit Storage(std::size_t room) : bytes(room + 1) {}

    std::vector<char> bytes;
    std::size_t used = 0;
};

void Secret::Overwrite::operator()(Storage* storage) const {
    explicit_bzero(storage->bytes.data(), storage->bytes.size());
    delete storage;
}

Secret::Secret(std::size_t room) : storage_(new Storage(room)) {}

std::string_view Secret::text() const {
    return storage_ ? std::string_view(storage_->bytes.data(), storage_->used) : "";
}

void Secret::Append(std::string_view more) {
    if (!storage_) return;
    const std::size_t length = std::min(more.size(), storage_->bytes.size() - 1 - storage_->used);
    more.copy(storage_->bytes.data() + storage_->used, length);
    storage_->used += length;
}

void Secret::DropLast() {
    if (!empty()) storage_->bytes[--storage_->used] = '\0';
}
