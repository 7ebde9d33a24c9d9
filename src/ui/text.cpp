#include "ui/text.h"

#include <algorithm>
#include <cctype>
#include <cwchar>

#include "util/message.h"

namespace {

int ColumnsOf(wchar_t character) {
    return std::max(0, wcwidth(character));
}

}  // namespace

const char* find_char_nocase(const char* text, int wanted) {
    const int lowered = std::tolower(wanted);
    for (; *text != '\0'; ++text) {
        if (std::tolower(static_cast<unsigned char>(*text)) == lowered) return text;
    }
    return nullptr;
}

std::wstring FitColumns(std::string_view text, int width) {
    std::wstring line;
    if (width <= 0) return line;
    int used = 0;
    for (wchar_t character : DisplayText(text)) {
        const int columns = ColumnsOf(character);
        if (used + columns > width) break;
        line += character;
        used += columns;
    }
    line.append(static_cast<std::size_t>(width - used), L' ');
    return line;
}

int ColumnsOf(std::string_view text) {
    int columns = 0;
    for (wchar_t character : DisplayText(text))
        columns += ColumnsOf(character);
    return columns;
}

std::string_view WholeCharacters(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xc0) == 0x80)
        --most;
    return text.substr(0, most);
}
