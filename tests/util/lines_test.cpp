#include "util/lines.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <vector>

namespace {

using namespace std::string_literals;
using Pieces = std::vector<std::string>;

Pieces PiecesOf(std::string_view text, std::size_t size) {
    Pieces pieces;
    std::string line;
    while (NextLine(text, size, line))
        pieces.push_back(line);
    return pieces;
}

TEST(NextLine, SplitsATextIntoLinesThatFitTheBuffer) {
    const struct {
        const char* what;
        std::string text;
        std::size_t size;
        Pieces pieces;
    } kCases[] = {
        {"line feeds are kept", "a\nbc\n", 64, {"a\n", "bc\n"}},
        {"the last line needs none", "a\nbc", 64, {"a\n", "bc"}},
        {"an empty line is a line", "\n\na\n\n", 64, {"\n", "\n", "a\n", "\n"}},
        {"carriage returns are kept", "a\r\nb\rc\n", 64, {"a\r\n", "b\rc\n"}},
        {"an empty text has no lines", "", 64, {}},
        {"a longer line is split", "abcdefghij\nk", 5, {"abcd", "efgh", "ij\n", "k"}},
        {"a line feed that does not fit", "abcd\nef\n", 5, {"abcd", "\n", "ef\n"}},
        {"a piece ends at a NUL byte", "ab\0cd\nef\n"s, 64, {"ab", "ef\n"}},
        {"also at the first byte", "\0\nef\n"s, 64, {"", "ef\n"}},
        {"no room for a character", "abc\n", 1, {}},
        {"no room at all", "abc\n", 0, {}},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(PiecesOf(row.text, row.size), row.pieces) << row.what;
    std::string_view text;
    std::string line = "left over";
    EXPECT_FALSE(NextLine(text, 64, line));
    EXPECT_EQ(line, "");
}

Pieces PiecesOfFgets(std::string text, int size) {
    Pieces pieces;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    std::FILE* file = fmemopen(text.data(), text.size(), "r");
    while (std::fgets(buffer.data(), size, file) != nullptr)
        pieces.emplace_back(buffer.data());
    std::fclose(file);
    return pieces;
}

TEST(NextLine, ReadsATextLikeFgetsReadsAFile) {
    std::mt19937 random(20);
    constexpr std::string_view kBytes("abc\n\0", 5);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (std::size_t length = 1 + random() % 40; length > 0; --length)
            text += kBytes[random() % kBytes.size()];
        const int size = 2 + static_cast<int>(random() % 9);
        SCOPED_TRACE(testing::PrintToString(text) + " by " + std::to_string(size));
        ASSERT_EQ(PiecesOf(text, static_cast<std::size_t>(size)), PiecesOfFgets(text, size));
    }
}

// ---- columns ----

constexpr std::size_t kMany = 64;

Pieces Split(std::string_view line, Columns columns, std::size_t most = kMany) {
    const auto found = SplitColumns(line, columns, most);
    return {found.begin(), found.end()};
}

struct SplitLine {
    std::string_view line;
    Pieces columns;
};

TEST(SplitColumns, ByBlanksARunOfBlanksSeparates) {
    const SplitLine kCases[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\tb c", {"a", "b", "c"}},
        {"a \t  \tb\t\tc", {"a", "b", "c"}},
        // Trailing blanks do not make a column.
        {"a b ", {"a", "b"}},
        {"a b\t \t", {"a", "b"}},
        // The first column starts at the first character, whatever it is.
        {" a b", {"", "a", "b"}},
        {"\t \ta", {"", "a"}},
        {" ", {""}},
        {"\t\t  ", {""}},
        // Only blanks and tabs are separators.
        {"a\rb\nc\vd", {"a\rb\nc\vd"}},
        {"eth0\t00000000\t0100A8C0\t0003\t0\t0\t0\t00000000",
         {"eth0", "00000000", "0100A8C0", "0003", "0", "0", "0", "00000000"}},
    };
    for (const SplitLine& row : kCases)
        EXPECT_EQ(Split(row.line, Columns::ByBlanks), row.columns) << row.line;
}

TEST(SplitColumns, ByTabsEachTabSeparates) {
    const SplitLine kCases[] = {
        {"", {}},
        {"0\tmy home\tany\t[CURRENT]", {"0", "my home", "any", "[CURRENT]"}},
        {"0\t\tany", {"0", "", "any"}},
        {"\thome", {"", "home"}},
        {"\t", {""}},
        {"\t\t", {"", ""}},
        // A trailing tab does not add a column.
        {"0\thome\t", {"0", "home"}},
        {"  a  b  ", {"  a  b  "}},
    };
    for (const SplitLine& row : kCases)
        EXPECT_EQ(Split(row.line, Columns::ByTabs), row.columns) << row.line;
}

TEST(SplitColumns, ExcessColumnsAreLeftOut) {
    for (const auto columns : {Columns::ByBlanks, Columns::ByTabs}) {
        EXPECT_EQ(Split("a\tb\tc", columns, 3), (Pieces{"a", "b", "c"}));
        EXPECT_EQ(Split("a\tb\tc", columns, 2), (Pieces{"a", "b"}));
        EXPECT_EQ(Split("a\tb", columns, 1), Pieces{"a"});
        EXPECT_EQ(Split("a\tb", columns, 0), Pieces{});
        std::string line;
        for (int i = 1; i <= 300; ++i)
            line.append(std::to_string(i)).append(1, '\t');
        ASSERT_EQ(Split(line, columns, 256).size(), 256U);
        EXPECT_EQ(Split(line, columns, 256).back(), "256");
    }
    EXPECT_EQ(Split("a b\tc  d", Columns::ByBlanks, 2), (Pieces{"a", "b"}));
}

TEST(SplitColumns, PointsIntoTheLine) {
    const std::string line = "a  b";
    const auto columns = SplitColumns(line, Columns::ByBlanks, kMany);
    ASSERT_EQ(columns.size(), 2U);
    EXPECT_EQ(columns[0].data(), line.data());
    EXPECT_EQ(columns[1].data(), line.data() + 3);
}

// ---- lines without their ends ----

TEST(NextChompedLine, CutsOnlyLineEnds) {
    std::string_view text = "a \r\n\r\nb\rc\n\nd";
    Pieces lines;
    std::string line;
    while (NextChompedLine(text, kMany, line))
        lines.push_back(line);
    EXPECT_EQ(lines, (Pieces{"a ", "", "b\rc", "", "d"}));
    EXPECT_EQ(line, "");
}

}  // namespace
