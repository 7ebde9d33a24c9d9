// Observes runs of the real `ip` without disturbing them.
#pragma once

#include <functional>

#include "spawn.h"
#include "watched.h"

class CommandWatch {
  public:
    CommandWatch();

    // Records what has happened since the last call. The kernel merges several starts, or several
    // ends, in a row into one event.
    void Look();
    // Forgets everything observed.
    void Reset();
    // Waits for a refresh of the program and lets it draw: from the start of the first run until no
    // run has started or ended for a while. The next refresh must be due later than that.
    // `meanwhile` is called every 2 ms.
    void WaitForRefresh(Watched& program, const std::function<void()>& meanwhile = {});

    bool seen() const { return first_ > 0; }  // any start or end
    double first() const { return first_; }   // when, on the clock of Now()
    double last() const { return last_; }
    int ended() const { return ended_; }

  private:
    harness::Descriptor events_;
    double first_ = 0, last_ = 0;
    int ended_ = 0;
};
