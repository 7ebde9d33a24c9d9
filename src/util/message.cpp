#include "util/message.h"

#include <climits>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace {

constexpr wchar_t kUnshowable = L'?';

struct CharacterRange {
    wchar_t first;
    wchar_t last;
};

// Printable to the C library, but without a look of their own: they hide text or turn it around.
constexpr CharacterRange kInvisible[] = {
    {0x200b, 0x200f}, {0x202a, 0x202e}, {0x2060, 0x206f}, {0xfeff, 0xfeff}};

bool IsShowable(wchar_t character) {
    for (const CharacterRange& range : kInvisible) {
        if (character >= range.first && character <= range.last) return false;
    }
    return std::iswprint(static_cast<wint_t>(character)) != 0;
}

}  // namespace

std::wstring DisplayText(std::string_view text) {
    std::wstring shown;
    shown.reserve(text.size());
    std::mbstate_t state = {};
    while (!text.empty()) {
        wchar_t character = 0;
        std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        const bool valid = length != 0 && length <= text.size() && IsShowable(character);
        if (length == 0 || length > text.size()) {
            length = 1;
            state = {};
        }
        shown += valid ? character : kUnshowable;
        text.remove_prefix(length);
    }
    return shown;
}

std::string BytesOf(std::wstring_view characters) {
    std::string text;
    char bytes[MB_LEN_MAX];
    for (wchar_t character : characters) {
        std::mbstate_t state = {};
        const std::size_t length = std::wcrtomb(bytes, character, &state);
        if (length <= sizeof bytes) text.append(bytes, length);
    }
    return text;
}

std::string PrintableText(std::string_view text) {
    return BytesOf(DisplayText(text));
}

void Say(std::string_view message) {
    std::fwrite(message.data(), 1, message.size(), stderr);
}
