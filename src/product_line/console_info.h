// The Linux console that the program runs on, in pixels: figures for the product line's tools that
// draw on it. The start-up takes them; no screen of this program depends on them, and a machine
// without framebuffer or console font leaves the defaults.
#pragma once

struct ConsoleInfo {
    int tty_number = -1;          // -1 until detected
    int cell_width = 8;           // pixels
    int cell_height = 16;         // pixels
    int framebuffer = -1;         // N of /dev/fbN; -1: the console has none
    int framebuffer_width = -1;   // visible pixels; -1: unknown
    int framebuffer_height = -1;  // visible pixels; -1: unknown
    int line_length = -1;         // bytes; -1: unknown
};

// The console's number from the terminal that standard output is: "/dev/tty2" gives 2, "/dev/tty"
// 0, a pseudo-terminal 0 (the console in front); -1 for anything else.
int ConsoleNumberOf(const char* terminal_path);

// Takes the figures: from the terminal behind /proc/self/fd/1, its font (KDFONTOP), the console's
// framebuffer (FBIOGET_CON2FBMAP on the first /dev/fb0 to /dev/fb15 that opens) and its geometry
// (FBIOGET_FSCREENINFO, FBIOGET_VSCREENINFO).
ConsoleInfo ProbeConsole();

// Between cells and pixels. Pixels are rounded up to whole cells.
int RowsToPixels(const ConsoleInfo& info, int rows);
int PixelsToRows(const ConsoleInfo& info, int pixels);
int ColumnsToPixels(const ConsoleInfo& info, int columns);
int PixelsToColumns(const ConsoleInfo& info, int pixels);
