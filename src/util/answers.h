// The progress of a round of queries that takes time.
#pragma once

enum class Known {
    Nothing,
    Part,  // the kernel's answers; some commands are still running
    All,   // everything that the round waits for
};

struct Answers {
    Known known = Known::Nothing;
    bool late = false;  // an answer to an earlier round has just arrived
};
