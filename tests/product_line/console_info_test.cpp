#include "product_line/console_info.h"

#include <gtest/gtest.h>
#include <linux/fb.h>
#include <linux/kd.h>

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

// The console tty2 with a font of 9 by 14. The files of the framebuffers are as long as their
// number. A request other than the expected ones fails.
struct {
    bool has_font = true;
    int framebuffer = -1;
    bool has_screen = true;
} console;

long AnswerConsoleRequest(int descriptor, unsigned request, void* argument) {
    constexpr unsigned kWholeFont = 512;
    struct stat file = {};
    fstat(descriptor, &file);
    if (request == KDFONTOP) {
        auto& font = *static_cast<console_font_op*>(argument);
        if (!console.has_font || descriptor != STDOUT_FILENO || font.op != KD_FONT_OP_GET ||
            font.charcount != kWholeFont || font.width != 8 || font.height != 32 ||
            font.data == nullptr) {
            return -EINVAL;
        }
        font.width = 9;
        font.height = 14;
    } else if (request == FBIOGET_CON2FBMAP) {
        auto& map = *static_cast<fb_con2fbmap*>(argument);
        constexpr auto kUnknown = static_cast<__u32>(-1);
        if (console.framebuffer < 0 || file.st_size > 1 || map.console != 3 ||
            map.framebuffer != kUnknown) {
            return -EINVAL;
        }
        map.framebuffer = static_cast<__u32>(console.framebuffer);
    } else if (request == FBIOGET_FSCREENINFO) {
        if (file.st_size != console.framebuffer) return -EINVAL;
        static_cast<fb_fix_screeninfo*>(argument)->line_length = 4096;
    } else {
        if (!console.has_screen || file.st_size != console.framebuffer) return -EINVAL;
        auto& screen = *static_cast<fb_var_screeninfo*>(argument);
        screen.xres = 1024;
        screen.yres = 768;
        screen.xres_virtual = screen.yres_virtual = 2000;
    }
    return 0;
}

// The figures of a probe on that console, with these framebuffers.
Answer ProbedOnTheConsole(const std::string& framebuffers) {
    const TemporaryFolder root;
    std::filesystem::create_directories(root.Path("proc/self/fd"));
    std::filesystem::create_symlink("/dev/tty2", root.Path("proc/self/fd/1"));
    for (const char number : framebuffers)
        root.File(std::string("dev/fb") + number,
                  std::string(static_cast<std::size_t>(number - '0'), ' '));
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    grantpt(master);
    unlockpt(master);
    const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    Answer answer = AnswerInChild(
        [&] {
            if (EnterRoot(root.path) == Prepared::kRefused) return Prepared::kRefused;
            return AnswerRequests(AnswerConsoleRequest, {KDFONTOP, FBIOGET_CON2FBMAP,
                                                         FBIOGET_FSCREENINFO, FBIOGET_VSCREENINFO});
        },
        [&] {
            const int output = dup(STDOUT_FILENO);
            dup2(terminal, STDOUT_FILENO);
            const ConsoleInfo info = ProbeConsole();
            dup2(output, STDOUT_FILENO);
            printf("%d: %dx%d, %d: %dx%d, %d", info.tty_number, info.cell_width, info.cell_height,
                   info.framebuffer, info.framebuffer_width, info.framebuffer_height,
                   info.line_length);
            return 0L;
        });
    close(terminal);
    close(master);
    return answer;
}

TEST(ProbeConsole, MeasuresTheFontAndTheFramebufferOfAConsole) {
    struct {
        const char* framebuffers;
        bool has_font;
        int framebuffer;
        bool has_screen;
        const char* expected;
    } const kCases[] = {
        {"03", true, 0, true, "2: 9x14, 0: 1024x768, 4096"},
        {"03", true, 3, true, "2: 9x14, 3: 1024x768, 4096"},
        {"13", true, 3, true, "2: 9x14, 3: 1024x768, 4096"},
        {"13", false, 3, true, "2: 8x16, 3: 1024x768, 4096"},
        {"13", true, -1, true, "2: 9x14, -1: -1x-1, -1"},
        {"13", true, 3, false, "2: 9x14, 3: -1x-1, -1"},
        {"1", true, 3, true, "2: 9x14, 3: -1x-1, -1"},
        {"", true, 3, true, "2: 9x14, -1: -1x-1, -1"},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.expected);
        console = {row.has_font, row.framebuffer, row.has_screen};
        const Answer answer = ProbedOnTheConsole(row.framebuffers);
        SKIP_WHERE_REFUSED(answer);
        EXPECT_EQ(answer.output, row.expected);
    }
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
