// Checks of conditions that must always hold. A failing check ends the program with the C library's
// standard report on standard error:
//
//     ifmenu: ifmenu:1782: size_t tabsplit(char**, size_t, char*): Assertion `col < colnum' failed.
//
// File and line are given by the caller and fixed, so that bug reports from different releases can
// be compared; they are not those of the source.
#pragma once

// Called by FailAssertion before it writes the report, to show the report on a plain screen. Null
// (the default) if there is no screen to leave.
extern void (*before_assertion_report)();

// Leaves the screen, writes the report and aborts (SIGABRT).
[[noreturn]] void FailAssertion(const char* expression, int line, const char* function);
