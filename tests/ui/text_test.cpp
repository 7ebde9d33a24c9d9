#include "ui/text.h"

#include <gtest/gtest.h>

#include <random>

#include "util/locale_fixtures.h"

namespace {

using namespace std::string_literals;

// ---- looking for a character ----

constexpr int kNowhere = -1;

int PositionOf(const char* text, int wanted) {
    const char* found = find_char_nocase(text, wanted);
    return found == nullptr ? kNowhere : static_cast<int>(found - text);
}

TEST(FindCharNocase, FindsTheFirstMatchIgnoringCase) {
    struct {
        const char* text;
        int wanted;
        int position;
    } const kCases[] = {
        {"Services", 's', 0},
        {"Services", 'S', 0},
        {"services", 'S', 0},
        {"Bring up all interfaces", 'u', 6},
        {"Exit this program", 'e', 0},
        {"Network Time Protocol", 't', 2},
        {"1. eth0", '1', 0},
        {"1. eth0", '0', 6},
        {"a b", ' ', 1},
        {"Diagnostics", 'x', kNowhere},
        {"", 'a', kNowhere},
        {"[a]", '{', kNowhere},
        {"a@b", '`', kNowhere},
    };
    for (const auto& row : kCases) {
        EXPECT_EQ(PositionOf(row.text, row.wanted), row.position) << row.text << row.wanted;
    }
}

TEST(FindCharNocase, HandlesBytesBeyondAscii) {
    EXPECT_EQ(PositionOf("\xe9t\xe9", 't'), 1);
    EXPECT_EQ(PositionOf("\xe9", 'e'), kNowhere);
}

// ---- columns ----

TEST(ColumnsOf, CountsColumnsNotBytes) {
    EXPECT_EQ(ColumnsOf(""), 0);
    EXPECT_EQ(ColumnsOf("eth0  Link active"), 17);
    EXPECT_EQ(ColumnsOf("a\tb\nc\x7f"), 6);
    EXPECT_EQ(ColumnsOf("caf\xc3\xa9"), 5) << "outside UTF-8, as two question marks";
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    EXPECT_EQ(ColumnsOf("caf\xc3\xa9"), 4);
    EXPECT_EQ(ColumnsOf("\xe6\x97\xa5\xe6\x9c\xac"), 4) << "wide characters";
    EXPECT_EQ(ColumnsOf("e\xcc\x81t"), 2) << "a combining accent";
    EXPECT_EQ(ColumnsOf("\xff\x1b"), 2);
}

struct Fitted {
    std::string text;
    int width;
    std::wstring line;
};

TEST(FitColumns, PadsWithBlanksAndCutsAtTheWidth) {
    const Fitted kCases[] = {
        {"abc", 5, L"abc  "}, {"abc", 3, L"abc"},   {"abc", 2, L"ab"},    {"abc", 1, L"a"},
        {"", 3, L"   "},      {"a\tb", 4, L"a?b "}, {"a\x1b[", 2, L"a?"},
    };
    for (const Fitted& row : kCases)
        EXPECT_EQ(FitColumns(row.text, row.width), row.line) << row.text << row.width;
}

TEST(FitColumns, IsEmptyIfTheWidthIsZero) {
    for (int width : {0, -1, -80}) {
        EXPECT_EQ(FitColumns("abc", width), L"") << width;
        EXPECT_EQ(FitColumns("", width), L"") << width;
    }
}

TEST(FitColumns, CountsColumnsNotBytes) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    const Fitted kCases[] = {
        {"caf\xc3\xa9", 4, L"caf\u00e9"},
        {"caf\xc3\xa9", 6, L"caf\u00e9  "},
        {"\xe6\x97\xa5\xe6\x9c\xac", 4, L"\u65e5\u672c"},
        {"\xe6\x97\xa5\xe6\x9c\xac", 5, L"\u65e5\u672c "},
        // Half of a wide character can't be shown: it becomes a blank.
        {"\xe6\x97\xa5\xe6\x9c\xac", 3, L"\u65e5 "},
        {"\xe6\x97\xa5z", 1, L" "},
        {"a\xe6\x97\xa5z", 2, L"a "},
    };
    for (const Fitted& row : kCases)
        EXPECT_EQ(FitColumns(row.text, row.width), row.line) << row.text << row.width;
}

TEST(FitColumns, KeepsAnAccentWithItsLetter) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    EXPECT_EQ(FitColumns("e\xcc\x81t\xcc\x81", 1), L"e\u0301");
    EXPECT_EQ(FitColumns("e\xcc\x81t\xcc\x81", 3), L"e\u0301t\u0301 ");
}

TEST(FitColumns, AlwaysTakesExactlyItsWidth) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    const std::string kParts[] = {"a", "\xc3\xa9", "\xe6\x97\xa5", "\xcc\x81", "\xff", "\x1b"};
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (std::size_t parts = random() % 12; parts > 0; --parts)
            text += kParts[random() % std::size(kParts)];
        const int width = 1 + static_cast<int>(random() % 20);
        int columns = 0;
        for (wchar_t character : FitColumns(text, width))
            columns += wcwidth(character);
        ASSERT_EQ(columns, width) << testing::PrintToString(text);
    }
}

// ---- bytes ----

TEST(WholeCharacters, DoesNotSplitCharacters) {
    struct {
        std::string_view text;
        std::size_t most;
        std::string_view whole;
    } const kCases[] = {
        {"abc", 3, "abc"},
        {"abc", 4, "abc"},
        {"abc", 2, "ab"},
        {"abc", 0, ""},
        {"", 0, ""},
        {"caf\xc3\xa9", 5, "caf\xc3\xa9"},
        {"caf\xc3\xa9s", 5, "caf\xc3\xa9"},
        {"caf\xc3\xa9", 4, "caf"},
        {"\xe6\x97\xa5\xe6\x9c\xac", 5, "\xe6\x97\xa5"},
        {"\xe6\x97\xa5\xe6\x9c\xac", 4, "\xe6\x97\xa5"},
        {"\xf0\x9f\x94\x91", 3, ""},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(WholeCharacters(row.text, row.most), row.whole) << row.text << row.most;
}

}  // namespace
