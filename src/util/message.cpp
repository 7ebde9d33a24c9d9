#include "util/message.h"

#include <climits>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace {

constexpr wchar_t kUnshowable = L'?';

}  // namespace

std::wstring DisplayText(std::string_view text) {
    std::wstring shown;
    shown.reserve(text.size());
    std::mbstate_t state = {};
    while (!text.empty()) {
        wchar_t character = 0;
        std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        const bool valid = length != 0 && length <= text.size() &&
                           std::iswprint(static_cast<wint_t>(character)) != 0;
        if (length == 0 || length > text.size()) {
            length = 1;
            state = {};
        }
        shown += valid ? character : kUnshowable;
        text.remove_prefix(length);
    }
    return shown;
}

std::string PrintableText(std::string_view text) {
    std::string printable;
    char bytes[MB_LEN_MAX];
    for (wchar_t character : DisplayText(text)) {
        std::mbstate_t state = {};
        const std::size_t length = std::wcrtomb(bytes, character, &state);
        if (length <= sizeof bytes) printable.append(bytes, length);
    }
    return printable;
}

void Say(std::string_view message) {
    std::fwrite(message.data(), 1, message.size(), stderr);
}
