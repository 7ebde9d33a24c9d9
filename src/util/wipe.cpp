#include "util/wipe.h"

#include <cstring>

void Wipe(std::string& text) {
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}
