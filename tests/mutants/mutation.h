// Small changes to a C++ source, each of which some test should notice.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct Mutant {
    std::size_t offset;       // the first byte that is replaced
    std::size_t length;       // in bytes
    std::string replacement;  // never what is there
    const char* kind;  // "comparison", "logic", "arithmetic", "constant", "string", "condition",
                       // "call" (left out) or "assignment" (left out)
};

// All mutants of a source that clang-format has formatted: a "<" between blanks is a comparison,
// one without them opens a template's arguments. Comments, preprocessor lines and assertions of the
// compiler have none. Some do not compile. In order of their offsets.
std::vector<Mutant> MutantsOf(std::string_view source);

// The source with the change.
std::string Mutate(std::string_view source, const Mutant& mutant);

// What is changed on which line, in one line: "comparison: == => !=: if (left == 0) return;".
std::string Describe(std::string_view source, const Mutant& mutant);

// The line that the change begins on; the first one is 1.
std::size_t LineOf(std::string_view source, const Mutant& mutant);
