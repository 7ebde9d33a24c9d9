#include "util/assertion.h"

// Assertions report in release builds, too.
#undef NDEBUG
#include <cassert>

void (*before_assertion_report)() = nullptr;

void FailAssertion(const char* expression, int line, const char* function) {
    if (before_assertion_report != nullptr) before_assertion_report();
    __assert_fail(expression, "ifmenu", static_cast<unsigned>(line), function);
}
