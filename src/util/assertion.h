// Checks of what must hold whatever the machine does. A check that fails ends the program with the
// C library's standard report on standard error:
//
//     ifmenu: ifmenu:1782: size_t tabsplit(char**, size_t, char*): Assertion `col < colnum' failed.
//
// The file and line in that report are the ones the field's bug lists know, so they are given by
// the caller and do not move with the source.
#pragma once

// Called by FailAssertion before it reports, so that the report lands on a plain screen.
// Null (the default) when there is no screen to leave.
extern void (*before_assertion_report)();

// Leaves the screen, writes the report and aborts (SIGABRT).
[[noreturn]] void FailAssertion(const char* expression, int line, const char* function);
