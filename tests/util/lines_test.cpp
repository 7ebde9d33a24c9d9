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

TEST(NextLine, LinesComeWithTheirLineFeeds) {
    EXPECT_EQ(PiecesOf("a\nbc\n", 64), (Pieces{"a\n", "bc\n"}));
}

TEST(NextLine, TheLastLineNeedsNoLineFeed) {
    EXPECT_EQ(PiecesOf("a\nbc", 64), (Pieces{"a\n", "bc"}));
}

TEST(NextLine, AnEmptyLineIsALine) {
    EXPECT_EQ(PiecesOf("\n\na\n\n", 64), (Pieces{"\n", "\n", "a\n", "\n"}));
}

TEST(NextLine, CarriageReturnsStay) {
    EXPECT_EQ(PiecesOf("a\r\nb\rc\n", 64), (Pieces{"a\r\n", "b\rc\n"}));
}

TEST(NextLine, AnEmptyTextHasNoLines) {
    EXPECT_EQ(PiecesOf("", 64), Pieces{});
}

TEST(NextLine, TheLineIsEmptyAtTheEndOfTheText) {
    std::string_view text;
    std::string line = "left over";
    EXPECT_FALSE(NextLine(text, 64, line));
    EXPECT_EQ(line, "");
}

TEST(NextLine, ALineLongerThanTheBufferComesInPieces) {
    EXPECT_EQ(PiecesOf("abcdefghij\nk", 5), (Pieces{"abcd", "efgh", "ij\n", "k"}));
}

TEST(NextLine, ALineFeedThatDoesNotFitIsAPieceOfItsOwn) {
    EXPECT_EQ(PiecesOf("abcd\nef\n", 5), (Pieces{"abcd", "\n", "ef\n"}));
}

TEST(NextLine, APieceEndsAtANulByte) {
    EXPECT_EQ(PiecesOf("ab\0cd\nef\n"s, 64), (Pieces{"ab", "ef\n"}));
    EXPECT_EQ(PiecesOf("\0\nef\n"s, 64), (Pieces{"", "ef\n"}));
}

TEST(NextLine, ABufferWithoutRoomForACharacterReadsNothing) {
    EXPECT_EQ(PiecesOf("abc\n", 1), Pieces{});
    EXPECT_EQ(PiecesOf("abc\n", 0), Pieces{});
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

TEST(NextLine, ReadsATextAsFgetsReadsAFile) {
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

}  // namespace
