#include "util/trim.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;

TEST(Trim, CutsCharactersAtTheStartTheEndOrBoth) {
    struct {
        std::string_view text, characters, start, end, both;
    } const kCases[] = {
        {"", kWhiteSpace, "", "", ""},
        {"abc", kWhiteSpace, "abc", "abc", "abc"},
        {" \t\r\nabc\n\r\t ", kWhiteSpace, "abc\n\r\t ", " \t\r\nabc", "abc"},
        {"  a  b\tc  ", kWhiteSpace, "a  b\tc  ", "  a  b\tc", "a  b\tc"},
        {" \t\r\n", kWhiteSpace, "", "", ""},
        {"\v abc \f", kWhiteSpace, "\v abc \f", "\v abc \f", "\v abc \f"},
        {"\0 a\0"sv, kWhiteSpace, "\0 a\0"sv, "\0 a\0"sv, "\0 a\0"sv},
        {" \ta\t\n ", kBlanks, "a\t\n ", " \ta\t\n", "a\t\n"},
        {"\t a \t", kSpace, "\t a \t", "\t a \t", "\t a \t"},
        {"  a  ", kSpace, "a  ", "  a", "a"},
        {"\r\n a \n\r", kLineEnds, " a \n\r", "\r\n a ", " a "},
        {"1234: 5", "0123456789", ": 5", "1234: ", ": "},
        {" a ", "", " a ", " a ", " a "},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(TrimStart(row.text, row.characters), row.start);
        EXPECT_EQ(TrimEnd(row.text, row.characters), row.end);
        EXPECT_EQ(Trim(row.text, row.characters), row.both);
    }
}

}  // namespace
