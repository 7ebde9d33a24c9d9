// Sees the runs of the real `ip`, without being in its way.
#pragma once

#include "spawn.h"
#include "watched.h"

class CommandWatch {
  public:
    CommandWatch();

    // Takes note of what has happened meanwhile. The kernel tells of several starts, or several
    // ends, in a row only once.
    void Look();
    // Forgets what has been seen.
    void Reset();
    // Waits for a refresh of the program and lets it draw: from the first run's start until for a
    // while none has started or ended. The next one must be due later than that.
    void WaitForRefresh(Watched& program);

    bool seen() const { return first_ > 0; }  // any start or end at all
    double first() const { return first_; }   // when, on the clock of Now()
    double last() const { return last_; }
    int ended() const { return ended_; }

  private:
    harness::Descriptor events_;
    double first_ = 0, last_ = 0;
    int ended_ = 0;
};
