#include "util/secret.h"

#include <sys/prctl.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

int living = 0;

}  // namespace

struct Secret::Storage {
    explicit Storage(std::size_t room) : bytes(room + 1) {
        if (living++ == 0) prctl(PR_SET_DUMPABLE, 0);
    }
    ~Storage() {
        explicit_bzero(bytes.data(), bytes.size());
        if (--living == 0) prctl(PR_SET_DUMPABLE, 1);
    }
    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;

    std::vector<char> bytes;
    std::size_t used = 0;
};

void Secret::End::operator()(Storage* storage) const {
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
