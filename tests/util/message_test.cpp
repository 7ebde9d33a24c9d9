#include "util/message.h"

#include <gtest/gtest.h>
#include <unistd.h>

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

// Every byte by itself must show as itself or as one question mark.
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

TEST(DisplayText, InTheCLocaleShowsAsciiOnly) {
    ExpectEachByteShown(AsciiOrQuestionMark);
    ExpectShown({
        {"", L""},
        {"eth0  Link active", L"eth0  Link active"},
        {"caf\xc3\xa9", L"caf??"},
        {"a\tb\nc\x7f", L"a?b?c?"},
    });
}

TEST(DisplayText, OnAUtf8TerminalShowsEveryCharacterAsItself) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    ExpectEachByteShown(AsciiOrQuestionMark);
    ExpectShown({
        {"caf\xc3\xa9", L"caf\u00e9"},
        {"\xe6\x97\xa5\xe6\x9c\xac", L"\u65e5\u672c"},
        {"e\xcc\x81t", L"e\u0301t"},
        {"\xf0\x9f\x98\x80", L"\U0001f600"},
    });
}

TEST(DisplayText, OnAUtf8TerminalNoControlCharacterPasses) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    ExpectShown({
        {"a\x1b[2Jb", L"a?[2Jb"},
        {"a\0b"s, L"a?b"},
        {"\x07\r\n\x7f", L"????"},
        {"\xc2\x9b"
         "2J",
         L"?2J"},            // CSI as one character
        {"\xc2\x85", L"?"},  // next line
    });
}

TEST(DisplayText, OnAUtf8TerminalEachByteThatIsNoCharacterIsAQuestionMark) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    ExpectShown({
        {"caf\xe9!", L"caf?!"},
        {"\xe6\x97", L"??"},           // a character cut in half at the end
        {"\xe6\x97z", L"??z"},         // and in the middle
        {"\xc0\xaf", L"??"},           // an overlong slash
        {"\xed\xa0\x80", L"???"},      // half of a surrogate pair
        {"\xff\xc3\xa9", L"?\u00e9"},  // what follows is read again
    });
}

wchar_t Latin1OrQuestionMark(int byte) {
    return IsPrintableAscii(byte) || byte >= 0xa0 ? static_cast<wchar_t>(byte) : L'?';
}

TEST(DisplayText, OnALatin1TerminalShowsItsCharacters) {
    const Latin1Characters latin1;
    if (!latin1.available) GTEST_SKIP() << "localedef can't make ISO-8859-1 here";
    ExpectEachByteShown(Latin1OrQuestionMark);
    ExpectShown({
        {"caf\xe9", L"caf\u00e9"},
        {"\xc3\xa9", L"\u00c3\u00a9"},
        {"\x9b"
         "2J",
         L"?2J"},
    });
}

// ---- the same as bytes ----

TEST(PrintableText, APrintableTextIsItself) {
    for (const char* text : {"", "eth0", "a b  c"})
        EXPECT_EQ(PrintableText(text), text);
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    for (const char* text : {"caf\xc3\xa9", "\xe6\x97\xa5\xe6\x9c\xac", "e\xcc\x81"})
        EXPECT_EQ(PrintableText(text), text);
}

TEST(PrintableText, WhatIsNotShownIsAQuestionMark) {
    EXPECT_EQ(PrintableText("a\x1b[2J\r\n"), "a?[2J??");
    EXPECT_EQ(PrintableText("caf\xc3\xa9"), "caf??");
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    EXPECT_EQ(PrintableText("caf\xe9 \xc3\xa9\x07"), "caf? \xc3\xa9?");
    EXPECT_EQ(PrintableText("a\0b"s), "a?b");
}

TEST(PrintableText, OnALatin1TerminalShowsItsCharacters) {
    const Latin1Characters latin1;
    if (!latin1.available) GTEST_SKIP() << "localedef can't make ISO-8859-1 here";
    EXPECT_EQ(PrintableText("caf\xe9\x9b\xff"), "caf\xe9?\xff");
}

TEST(Say, WritesToStandardErrorAsItStands) {
    EXPECT_EXIT(
        {
            Say("Stopping all %s interfaces...\n");
            _exit(0);
        },
        testing::ExitedWithCode(0), "^Stopping all %s interfaces\\.\\.\\.\n$");
}

}  // namespace
