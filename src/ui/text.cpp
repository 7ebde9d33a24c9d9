#include "ui/text.h"

#include <sys/time.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <cwchar>

namespace {

bool IsSpace(char c) {
    return c == '\t' || c == '\n' || c == '\r' || c == ' ';
}

int ColumnsOf(wchar_t character) {
    return std::max(0, wcwidth(character));
}

}  // namespace

double now_seconds() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

char* skip_space(char* text) {
    while (IsSpace(*text))
        ++text;
    return text;
}

void trim_trailing_space(char* text) {
    std::size_t length = std::strlen(text);
    while (length > 0 && IsSpace(text[length - 1]))
        text[--length] = '\0';
}

char* trim_space(char* text) {
    char* start = skip_space(text);
    trim_trailing_space(start);
    return start;
}

void strip_leading_space(char* text) {
    const char* start = skip_space(text);
    std::memmove(text, start, std::strlen(start) + 1);
}

const char* find_char_nocase(const char* text, int wanted) {
    const int lowered = std::tolower(wanted);
    for (; *text != '\0'; ++text) {
        if (std::tolower(static_cast<unsigned char>(*text)) == lowered) return text;
    }
    return nullptr;
}

bool any_nonzero(const void* bytes, std::size_t count) {
    const auto* first = static_cast<const unsigned char*>(bytes);
    return std::any_of(first, first + count, [](unsigned char byte) { return byte != 0; });
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
    if (used < width) line.append(static_cast<std::size_t>(width - used), L' ');
    return line;
}

int ColumnsOf(std::string_view text) {
    int columns = 0;
    for (wchar_t character : DisplayText(text))
        columns += ColumnsOf(character);
    return columns;
}
