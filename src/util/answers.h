// How far a round of questions is whose answers take time.
#pragma once

enum class Known {
    Nothing,
    Part,  // what the kernel says; a command has still to answer
    All,   // all that the round waits for
};

struct Answers {
    Known known = Known::Nothing;
    bool late = false;  // one that an earlier round has asked for has just come
};
