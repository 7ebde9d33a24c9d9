#include "product_line/console_info.h"

#include <fcntl.h>
#include <linux/fb.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kFramebuffers = 16;
constexpr unsigned kFontCharacters = 512;
constexpr std::size_t kFontBytes = 16640;

std::string StandardOutputPath() {
    char path[129] = "";
    const ssize_t length = readlink("/proc/self/fd/1", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

int OpenFramebuffer(int index) {
    return open(("/dev/fb" + std::to_string(index)).c_str(), O_RDONLY | O_CLOEXEC);
}

void ProbeFont(ConsoleInfo& info) {
    std::vector<unsigned char> glyphs(kFontBytes);
    console_font_op font = {};
    font.op = KD_FONT_OP_GET;
    font.width = 8;
    font.height = 32;
    font.charcount = kFontCharacters;
    font.data = glyphs.data();
    if (ioctl(STDOUT_FILENO, KDFONTOP, &font) != 0) return;
    if (font.width == 0 || font.height == 0) return;
    info.cell_width = static_cast<int>(font.width);
    info.cell_height = static_cast<int>(font.height);
}

// False if there is no framebuffer device to ask.
bool ProbeFramebufferIndex(ConsoleInfo& info) {
    for (int index = 0; index < kFramebuffers; ++index) {
        const int device = OpenFramebuffer(index);
        if (device < 0) continue;
        fb_con2fbmap map = {};
        map.console = static_cast<__u32>(info.tty_number + 1);
        map.framebuffer = static_cast<__u32>(-1);
        if (ioctl(device, FBIOGET_CON2FBMAP, &map) == 0) {
            info.framebuffer = static_cast<int>(map.framebuffer);
        }
        close(device);
        return true;
    }
    return false;
}

void ProbeGeometry(ConsoleInfo& info) {
    info.framebuffer_width = info.framebuffer_height = info.line_length = -1;
    if (info.framebuffer < 0) return;
    const int device = OpenFramebuffer(info.framebuffer);
    if (device < 0) return;
    fb_fix_screeninfo fixed = {};
    fb_var_screeninfo variable = {};
    if (ioctl(device, FBIOGET_FSCREENINFO, &fixed) == 0 &&
        ioctl(device, FBIOGET_VSCREENINFO, &variable) == 0) {
        info.framebuffer_width = static_cast<int>(variable.xres);
        info.framebuffer_height = static_cast<int>(variable.yres);
        info.line_length = static_cast<int>(fixed.line_length);
    }
    close(device);
}

}  // namespace

int ConsoleNumberOf(const char* terminal_path) {
    constexpr std::string_view kPseudoTerminal = "/dev/pts";
    constexpr std::string_view kConsole = "/dev/tty";
    std::string path = terminal_path;
    if (path.starts_with(kPseudoTerminal)) path = "/dev/tty0";
    if (!path.starts_with(kConsole)) return -1;
    return std::atoi(path.c_str() + kConsole.size());
}

ConsoleInfo ProbeConsole() {
    ConsoleInfo info;
    if (isatty(STDOUT_FILENO) == 0) return info;
    info.tty_number = ConsoleNumberOf(StandardOutputPath().c_str());
    if (info.tty_number < 0) return info;
    ProbeFont(info);
    if (ProbeFramebufferIndex(info)) ProbeGeometry(info);
    return info;
}

int RowsToPixels(const ConsoleInfo& info, int rows) {
    return rows * info.cell_height;
}

int PixelsToRows(const ConsoleInfo& info, int pixels) {
    return (pixels + info.cell_height - 1) / info.cell_height;
}

int ColumnsToPixels(const ConsoleInfo& info, int columns) {
    return columns * info.cell_width;
}

int PixelsToColumns(const ConsoleInfo& info, int pixels) {
    return (pixels + info.cell_width - 1) / info.cell_width;
}
