#include "util/message.h"

#include <langinfo.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iterator>

namespace {

constexpr wchar_t kUnshowable = L'?';

struct CharacterRange {
    wchar_t first;
    wchar_t last;
};

// Unicode's format characters (general category Cf) and default-ignorable characters
// (Default_Ignorable_Code_Point), as of Unicode 15. The C library considers many of them printable,
// but they hide or reorder text.
constexpr CharacterRange kInvisible[] = {
    {0x00ad, 0x00ad},   {0x034f, 0x034f},   {0x0600, 0x0605},   {0x061c, 0x061c},
    {0x06dd, 0x06dd},   {0x070f, 0x070f},   {0x0890, 0x0891},   {0x08e2, 0x08e2},
    {0x115f, 0x1160},   {0x17b4, 0x17b5},   {0x180b, 0x180f},   {0x200b, 0x200f},
    {0x202a, 0x202e},   {0x2060, 0x206f},   {0x3164, 0x3164},   {0xfe00, 0xfe0f},
    {0xfeff, 0xfeff},   {0xffa0, 0xffa0},   {0xfff0, 0xfffb},   {0x110bd, 0x110bd},
    {0x110cd, 0x110cd}, {0x13430, 0x1343f}, {0x1bca0, 0x1bca3}, {0x1d173, 0x1d17a},
    {0xe0000, 0xe0fff}};

constexpr bool IsBefore(const CharacterRange& one, const CharacterRange& other) {
    return one.last < other.first;
}
static_assert(std::is_sorted(std::begin(kInvisible), std::end(kInvisible), IsBefore));

bool IsInvisible(wchar_t character) {
    const auto* range =
        std::find_if(std::begin(kInvisible), std::end(kInvisible),
                     [&](const CharacterRange& candidate) { return character <= candidate.last; });
    return range != std::end(kInvisible) && character >= range->first;
}

// Whether a terminal with another character set could read a control character in these bytes: 0x80
// to 0x9f are one-byte forms of ESC and a letter. In UTF-8 such bytes are parts of characters.
bool HasControlByte(wchar_t character) {
    char bytes[MB_LEN_MAX];
    std::mbstate_t state = {};
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    return length > sizeof bytes || std::any_of(bytes, bytes + length, [](char byte) {
               return (static_cast<unsigned char>(byte) & 0xe0) == 0x80;
           });
}

bool IsUtf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool IsShowable(wchar_t character, bool is_utf8) {
    return std::iswprint(static_cast<wint_t>(character)) != 0 && !IsInvisible(character) &&
           (is_utf8 || !HasControlByte(character));
}

}  // namespace

std::wstring DisplayText(std::string_view text) {
    const bool is_utf8 = IsUtf8();
    std::wstring shown;
    shown.reserve(text.size());
    std::mbstate_t state = {};
    while (!text.empty()) {
        wchar_t character = 0;
        std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        const bool valid = length != 0 && length <= text.size() && IsShowable(character, is_utf8);
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
    if (!message.empty()) std::fwrite(message.data(), 1, message.size(), stderr);
}
