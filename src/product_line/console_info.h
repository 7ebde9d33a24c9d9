// Measures the Linux console that the program runs on, in pixels, for the tools of the product line
// that draw on it. Taken at start-up; no screen of this program uses it. On a machine without a
// framebuffer or console font the defaults remain.
#pragma once

struct ConsoleInfo {
    int tty_number = -1;          // -1 until known
    int cell_width = 8;           // pixels
    int cell_height = 16;         // pixels
    int framebuffer = -1;         // N of /dev/fbN; -1: the console has none
    int framebuffer_width = -1;   // visible pixels; -1: unknown
    int framebuffer_height = -1;  // visible pixels; -1: unknown
    int line_length = -1;         // bytes; -1: unknown
};

// The number of the console from the path of the terminal on standard output: 2 for "/dev/tty2", 0
// for "/dev/tty", 0 (the foreground console) for a pseudo-terminal, -1 for anything else.
int ConsoleNumberOf(const char* terminal_path);

// Queries the terminal at /proc/self/fd/1, its font (KDFONTOP), the console's framebuffer
// (FBIOGET_CON2FBMAP on the first of /dev/fb0 to /dev/fb15 that opens) and the framebuffer's
// geometry (FBIOGET_FSCREENINFO, FBIOGET_VSCREENINFO).
ConsoleInfo ProbeConsole();

// Convert between cells and pixels. Pixels are rounded up to whole cells.
int RowsToPixels(const ConsoleInfo& info, int rows);
int PixelsToRows(const ConsoleInfo& info, int pixels);
int ColumnsToPixels(const ConsoleInfo& info, int columns);
int PixelsToColumns(const ConsoleInfo& info, int pixels);
