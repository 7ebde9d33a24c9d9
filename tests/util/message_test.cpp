#include "util/message.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <vector>

#include "util/locale_fixtures.h"

namespace {

using namespace std::string_literals;

struct Shown {
    std::string text;
    std::wstring shown;
};

void ExpectShown(const std::vector<Shown>& rows) {
    for (const Shown& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(DisplayText(row.text), row.shown);
    }
}

// Each single byte must be shown unchanged or as one question mark.
void ExpectEachByteShown(wchar_t (*shown_as)(int byte)) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(DisplayText(text), std::wstring(1, shown_as(byte))) << byte;
    }
}

bool IsPrintableAscii(int byte) {
    return byte >= 0x20 && byte <= 0x7e;
}

wchar_t AsciiOrQuestionMark(int byte) {
    return IsPrintableAscii(byte) ? static_cast<wchar_t>(byte) : L'?';
}

TEST(DisplayText, InTheCLocaleShowsOnlyAscii) {
    ExpectEachByteShown(AsciiOrQuestionMark);
    ExpectShown({
        {"", L""},
        {"eth0  Link active", L"eth0  Link active"},
        {"caf\xc3\xa9", L"caf??"},
        {"a\tb\nc\x7f", L"a?b?c?"},
    });
}

TEST(DisplayText, OnAUtf8TerminalShowsPrintableCharactersUnchanged) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    ExpectEachByteShown(AsciiOrQuestionMark);
    ExpectShown({
        {"caf\xc3\xa9", L"caf\u00e9"},
        {"\xe6\x97\xa5\xe6\x9c\xac", L"\u65e5\u672c"},
        {"e\xcc\x81t", L"e\u0301t"},
        {"\xf0\x9f\x98\x80", L"\U0001f600"},
        // no control character passes
        {"a\x1b[2Jb", L"a?[2Jb"},
        {"a\0b"s, L"a?b"},
        {"\x07\r\n\x7f", L"????"},
        {"\xc2\x9b"
         "2J",
         L"?2J"},            // CSI as one character
        {"\xc2\x85", L"?"},  // next line
        // an invalid byte is a question mark
        {"caf\xe9!", L"caf?!"},
        {"\xe6\x97", L"??"},           // an incomplete character at the end
        {"\xe6\x97z", L"??z"},         // and in the middle
        {"\xc0\xaf", L"??"},           // an overlong slash
        {"\xed\xa0\x80", L"???"},      // half of a surrogate pair
        {"\xff\xc3\xa9", L"?\u00e9"},  // the next character is read again
    });
}

// All but the soft hyphen.
wchar_t Latin1OrQuestionMark(int byte) {
    return IsPrintableAscii(byte) || (byte >= 0xa0 && byte != 0xad) ? static_cast<wchar_t>(byte)
                                                                    : L'?';
}

TEST(DisplayText, OnALatin1TerminalShowsItsCharacters) {
    const Latin1Characters latin1;
    if (!latin1.available) GTEST_SKIP() << "localedef can't create ISO-8859-1 on this system";
    ExpectEachByteShown(Latin1OrQuestionMark);
    ExpectShown({
        {"caf\xe9", L"caf\u00e9"},
        {"\xc3\xa9", L"\u00c3\u00a9"},
        {"\x9b"
         "2J",
         L"?2J"},
    });
}

// ---- characters that hide or reorder text ----

std::string Utf8Of(char32_t character) {
    std::string bytes;
    if (character < 0x80) return {static_cast<char>(character)};
    const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr unsigned char kFirst[] = {0, 0xc0, 0xe0, 0xf0};
    bytes += static_cast<char>(kFirst[more] | character >> (6 * more));
    for (int at = more - 1; at >= 0; at--)
        bytes += static_cast<char>(0x80 | (character >> (6 * at) & 0x3f));
    return bytes;
}

bool IsHidden(char32_t character) {
    return DisplayText(Utf8Of(character)) == L"?";
}

TEST(DisplayText, CharactersThatHideOrReorderTextAreQuestionMarks) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    const std::vector<char32_t> hidden = {
        0xad,     // soft hyphen
        0x34f,    // combining grapheme joiner
        0x61c,    // Arabic letter mark
        0x6dd,    // Arabic end of ayah, which encloses what follows
        0x115f,   // Hangul choseong filler
        0x180e,   // Mongolian vowel separator
        0x200d,   // zero width joiner
        0x202e,   // right-to-left override
        0x2028,   // line separator
        0x2066,   // left-to-right isolate
        0x3164,   // Hangul filler
        0xfe0f,   // variation selector
        0xffa0,   // halfwidth Hangul filler
        0xfff9,   // interlinear annotation
        0x1d173,  // musical beam
        0xe0041,  // tag letter A
        0xe01ef,  // variation selector
    };
    for (char32_t character : hidden) {
        EXPECT_TRUE(IsHidden(character)) << std::hex << static_cast<unsigned>(character);
        EXPECT_EQ(PrintableText("a" + Utf8Of(character) + "b"), "a?b");
    }
    const char32_t shown[] = {0xa0,   0xac,   0xae,   0x300,  0x350,  0x5d0,  0x627,  0x1161,
                              0x2010, 0x2070, 0x3000, 0x3165, 0xfe10, 0xffa1, 0xfffc, 0xfffd};
    for (char32_t character : shown)
        EXPECT_FALSE(IsHidden(character)) << std::hex << static_cast<unsigned>(character);
}

// The characters in a file of the Unicode Character Database whose second or third field is this.
std::vector<char32_t> CharactersOf(const std::string& path, const std::string& wanted) {
    std::vector<char32_t> characters;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line.substr(0, line.find('#')));
        std::string range;
        std::getline(fields, range, ';');
        bool is_wanted = false;
        for (std::string field; std::getline(fields, field, ';');) {
            field.erase(0, field.find_first_not_of(' '));
            field.resize(field.find_last_not_of(' ') + 1);
            is_wanted = is_wanted || field == wanted;
        }
        if (!is_wanted) continue;
        const std::size_t dots = range.find("..");
        const auto first = static_cast<char32_t>(std::stoul(range, nullptr, 16));
        const auto last =
            dots == std::string::npos
                ? first
                : static_cast<char32_t>(std::stoul(range.substr(dots + 2), nullptr, 16));
        for (char32_t character = first; character <= last; character++)
            characters.push_back(character);
    }
    return characters;
}

TEST(DisplayText, ReplacesTheHidingCharactersOfTheUnicodeDatabaseAndNoOthers) {
    const std::string folder = "/usr/share/unicode/";
    if (!std::filesystem::exists(folder + "UnicodeData.txt"))
        GTEST_SKIP() << "no Unicode Character Database on this system";
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    const auto format = CharactersOf(folder + "UnicodeData.txt", "Cf");
    const auto ignorable =
        CharactersOf(folder + "DerivedCoreProperties.txt", "Default_Ignorable_Code_Point");
    EXPECT_GT(format.size(), 150U);
    EXPECT_GT(ignorable.size(), 4000U);
    std::set<char32_t> hiding(format.begin(), format.end());
    hiding.insert(ignorable.begin(), ignorable.end());
    constexpr char32_t kEnd = 0x110000;
    for (char32_t character = 1; character < kEnd; character++) {
        if (character >= 0xd800 && character <= 0xdfff) continue;  // not characters in UTF-8
        const bool is_shown = std::iswprint(static_cast<wint_t>(character)) != 0;
        EXPECT_EQ(IsHidden(character), character == '?' || !is_shown || hiding.count(character) > 0)
            << std::hex << static_cast<unsigned>(character);
    }
}

// ---- outside UTF-8 ----

bool HasControlByte(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x80 && byte <= 0x9f;
    });
}

// In KOI8-R the bytes from 0x80 to 0x9f are lines and blocks, in GB18030 parts of characters; but a
// terminal with another character set takes them for control characters.
TEST(PrintableText, OutsideUtf8NoByteControlsAnyTerminal) {
    const struct {
        const char* territory;
        const char* set;
        std::string text, shown;
    } kSets[] = {{"en_US", "ISO-8859-1", "caf\xe9\x9b\xff", "caf\xe9?\xff"},
                 {"ru_RU", "KOI8-R", "\x80\x9b\xf3\xd4\xd5", "??\xf3\xd4\xd5"},
                 {"zh_CN", "GB18030", "\x9b\x9b\xd6\xd0", "?\xd6\xd0"}};
    for (const auto& [territory, set, text, shown] : kSets) {
        SCOPED_TRACE(set);
        const MadeCharacters characters(territory, set);
        if (!characters.available)
            GTEST_SKIP() << "localedef can't create " << set << " on this system";
        EXPECT_EQ(PrintableText(text), shown);
        EXPECT_EQ(DisplayText("\x9b"), L"?");
        for (int first = 0; first < 256; first++) {
            for (int second = 0; second < 256; second++) {
                const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
                EXPECT_FALSE(HasControlByte(PrintableText(pair))) << first << " " << second;
            }
        }
        EXPECT_FALSE(HasControlByte(PrintableText("\x81\x30\x84\x38\x90\x30\x81\x30")));
    }
}

// ---- as bytes ----

TEST(PrintableText, APrintableTextIsUnchanged) {
    for (const char* text : {"", "eth0", "a b  c"})
        EXPECT_EQ(PrintableText(text), text);
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    for (const char* text : {"caf\xc3\xa9", "\xe6\x97\xa5\xe6\x9c\xac", "e\xcc\x81"})
        EXPECT_EQ(PrintableText(text), text);
}

TEST(PrintableText, UnprintableCharactersAreQuestionMarks) {
    EXPECT_EQ(PrintableText("a\x1b[2J\r\n"), "a?[2J??");
    EXPECT_EQ(PrintableText("caf\xc3\xa9"), "caf??");
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    EXPECT_EQ(PrintableText("caf\xe9 \xc3\xa9\x07"), "caf? \xc3\xa9?");
    EXPECT_EQ(PrintableText("a\0b"s), "a?b");
}

TEST(Say, WritesToStandardErrorUnchanged) {
    EXPECT_EXIT(
        {
            Say({});
            Say("Stopping all %s interfaces...\n");
            _exit(0);
        },
        testing::ExitedWithCode(0), "^Stopping all %s interfaces\\.\\.\\.\n$");
}

}  // namespace
