#include "product_line/console_info.h"

#include <gtest/gtest.h>

#include "util/utility_fixtures.h"

namespace {

TEST(ConsoleInfo, IsUnknownAtFirst) {
    const ConsoleInfo info;
    EXPECT_EQ(info.tty_number, -1);
    EXPECT_EQ(info.cell_width, 8);
    EXPECT_EQ(info.cell_height, 16);
    EXPECT_EQ(info.framebuffer, -1);
    EXPECT_EQ(info.framebuffer_width, -1);
    EXPECT_EQ(info.framebuffer_height, -1);
    EXPECT_EQ(info.line_length, -1);
}

TEST(ConsoleNumberOf, IsTheNumberAfterTheDevice) {
    struct {
        const char* path;
        int number;
    } const kCases[] = {
        {"/dev/tty1", 1},  {"/dev/tty63", 63}, {"/dev/tty0", 0},      {"/dev/tty", 0},
        {"/dev/ttyS3", 0}, {"/dev/pts/7", 0},  {"/dev/pts/12", 0},    {"/dev/console", -1},
        {"/dev/null", -1}, {"", -1},           {"pipe:[123]", -1},    {"/dev/tt", -1},
        {"dev/tty1", -1},  {"/dev/pt", -1},    {"/tmp/dev/tty1", -1}, {"/dev/tty2 (deleted)", 2},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(ConsoleNumberOf(row.path), row.number) << row.path;
}

// The result of a probe with that file as standard output.
ConsoleInfo ProbedOn(const char* path) {
    const int standard_output = dup(STDOUT_FILENO);
    const int file = open(path, O_RDWR | O_NOCTTY);
    dup2(file, STDOUT_FILENO);
    const ConsoleInfo info = ProbeConsole();
    dup2(standard_output, STDOUT_FILENO);
    close(standard_output);
    close(file);
    return info;
}

TEST(ProbeConsole, KeepsTheDefaultsIfStandardOutputIsNotATerminal) {
    const ConsoleInfo info = ProbedOn("/dev/null");
    EXPECT_EQ(info.tty_number, -1);
    EXPECT_EQ(info.cell_width, 8);
    EXPECT_EQ(info.cell_height, 16);
    EXPECT_EQ(info.framebuffer, -1);
    EXPECT_EQ(info.framebuffer_width, -1);
}

TEST(ProbeConsole, APseudoTerminalMeansTheForegroundConsole) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    const ConsoleInfo info = ProbedOn(ptsname(master));
    close(master);
    EXPECT_EQ(info.tty_number, 0);
    EXPECT_EQ(info.cell_width, 8);
    EXPECT_EQ(info.cell_height, 16);
}

ConsoleInfo WithCell(int width, int height) {
    ConsoleInfo info;
    info.cell_width = width;
    info.cell_height = height;
    return info;
}

TEST(CellsAndPixels, MultipliesCellsByTheirSize) {
    EXPECT_EQ(RowsToPixels({}, 25), 400);
    EXPECT_EQ(ColumnsToPixels({}, 80), 640);
    EXPECT_EQ(RowsToPixels(WithCell(9, 14), 3), 42);
    EXPECT_EQ(ColumnsToPixels(WithCell(9, 14), 3), 27);
    EXPECT_EQ(RowsToPixels({}, 0), 0);
    EXPECT_EQ(ColumnsToPixels({}, 0), 0);
}

TEST(CellsAndPixels, PixelsAreRoundedUpToWholeCells) {
    struct {
        int pixels, rows, columns;
    } const kCases[] = {{0, 0, 0},  {1, 1, 1},  {8, 1, 1},     {9, 1, 2},
                        {16, 1, 2}, {17, 2, 3}, {768, 48, 96}, {769, 49, 97}};
    for (const auto& row : kCases) {
        EXPECT_EQ(PixelsToRows({}, row.pixels), row.rows) << row.pixels;
        EXPECT_EQ(PixelsToColumns({}, row.pixels), row.columns) << row.pixels;
    }
    EXPECT_EQ(PixelsToRows(WithCell(9, 14), 15), 2);
    EXPECT_EQ(PixelsToColumns(WithCell(9, 14), 18), 2);
    EXPECT_EQ(PixelsToColumns(WithCell(9, 14), 19), 3);
}

}  // namespace
