// Drawing the cells of a terminal, without a terminal.
#include "svg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace pictures {
namespace {

using harness::Cell;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Adds the cells of a text to the only row of the snapshot.
void Add(Snapshot& shot, const std::vector<std::string>& texts, const Cell& look = Cell()) {
    for (const std::string& text : texts) {
        Cell cell = look;
        cell.text = text;
        shot.cells.push_back(cell);
    }
    shot.rows = 1;
    shot.cols = static_cast<int>(shot.cells.size());
}

std::vector<std::string> Letters(const std::string& text) {
    std::vector<std::string> letters;
    for (const char c : text)
        letters.emplace_back(1, c);
    return letters;
}

std::vector<std::string> MarkupOf(const std::string& text, const Cell& look = Cell()) {
    Snapshot shot;
    Add(shot, Letters(text), look);
    return RowMarkup(shot, 0);
}

TEST(Picture, ABlankRowNeedsNoMarkup) {
    EXPECT_THAT(MarkupOf("     "), IsEmpty());
}

TEST(Picture, OnlySingleBlanksJoinWordsIntoOneRun) {
    EXPECT_THAT(MarkupOf("  to be  or"),
                ElementsAre(R"(<text x="18" y="14" textLength="45">to be</text>)",
                            R"(<text x="81" y="14" textLength="18">or</text>)"));
}

TEST(Picture, MarkupInATextIsEscaped) {
    EXPECT_THAT(MarkupOf("<&>"),
                ElementsAre(R"(<text x="0" y="14" textLength="27">&lt;&amp;&gt;</text>)"));
}

TEST(Picture, AnUnusualBackgroundIsARectangleBehindTheText) {
    Cell selected;
    selected.fg = harness::kWhite;
    selected.bg = harness::kBlue;
    selected.bold = true;
    EXPECT_THAT(MarkupOf("u  ", selected),
                ElementsAre(R"(<rect class="g4" x="0" width="27" height="18"/>)",
                            R"(<text x="0" y="14" class="bold">u</text>)"));
}

TEST(Picture, ReverseSwapsForegroundAndBackground) {
    Cell reverse;
    reverse.reverse = true;
    EXPECT_THAT(MarkupOf("u", reverse),
                ElementsAre(R"(<rect class="g7" x="0" width="9" height="18"/>)",
                            R"(<text x="0" y="14" class="f0">u</text>)"));
}

TEST(Picture, AHotKeyLetterIsASeparateRun) {
    Cell yellow;
    yellow.fg = harness::kYellow;
    Snapshot shot;
    Add(shot, Letters("up"));
    Add(shot, Letters("d"), yellow);
    EXPECT_THAT(RowMarkup(shot, 0), ElementsAre(R"(<text x="0" y="14" textLength="18">up</text>)",
                                                R"(<text x="18" y="14" class="f3">d</text>)"));
}

TEST(Picture, AWideCharacterTakesTwoColumns) {
    Snapshot shot;
    Add(shot, {"漢", "", "a"});
    EXPECT_THAT(RowMarkup(shot, 0),
                ElementsAre(R"(<text x="0" y="14" textLength="27">漢a</text>)"));
}

TEST(Picture, LineDrawingCharactersAreDrawnAsLines) {
    Snapshot shot;
    Add(shot, {"┌", "─", "┐", " ", "│"});
    EXPECT_THAT(RowMarkup(shot, 0),
                ElementsAre(R"(<path class="lines" d="M4.5 9.5H22.5M4.5 9.5V18M22.5 9.5V18)"
                            R"(M40.5 0V18"/>)"));
}

TEST(Picture, TheCursorCoversItsCellAndShowsItsCharacter) {
    Snapshot shot;
    Add(shot, Letters("ab"));
    shot.cursor_row = 0;
    shot.cursor_col = 1;
    EXPECT_THAT(RowMarkup(shot, 0),
                ElementsAre(R"(<text x="0" y="14" textLength="18">ab</text>)",
                            R"(<rect class="cursor" x="9" width="9" height="18"/>)",
                            R"(<text x="9" y="14" class="f0">b</text>)"));
    shot.cursor_row = -1;
    EXPECT_THAT(RowMarkup(shot, 0), ElementsAre(Not(HasSubstr("cursor"))));
}

TEST(Picture, HasATitleAndADescription) {
    Snapshot shot;
    Add(shot, Letters("a"));
    const std::string svg = StillPicture(shot, {"Main <menu>", "All & more"});
    EXPECT_THAT(svg, HasSubstr(R"(role="img" aria-labelledby="title desc")"));
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">Main &lt;menu&gt;</title>"));
    EXPECT_THAT(svg, HasSubstr("<desc id=\"desc\">All &amp; more</desc>"));
}

TEST(MovingPicture, DrawsARowOnlyOnceForAllFrames) {
    Frame frame;
    Add(frame.shot, Letters("the same"));
    const std::string svg = MovingPicture({frame, frame}, {"", ""});
    EXPECT_EQ(svg.find("the same"), svg.rfind("the same"));
    EXPECT_NE(svg.find("<use "), svg.rfind("<use "));
}

TEST(MovingPicture, ShowsEachFrameForItsTime) {
    Frame frame;
    Add(frame.shot, Letters("0123456789"));
    Frame longer = frame;
    longer.seconds = 3;
    const std::string svg = MovingPicture({frame, longer}, {"", ""});
    EXPECT_THAT(svg, HasSubstr("animation: film 4.00s step-end infinite"));
    EXPECT_THAT(svg, HasSubstr("0.000% { transform: translateX(0px) }\n"
                               "25.000% { transform: translateX(-114px) }\n"));
}

}  // namespace
}  // namespace pictures
