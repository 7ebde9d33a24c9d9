#include "net/refresh_gathering.h"

#include <utility>

Gathering GatherInto(InterfaceRefresh& refresh, std::function<void()> start) {
    return {.start = std::move(start),
            .is_done = [&refresh] { return ContinueRefresh(refresh); },
            .has_news = [&refresh] { return TakeNews(refresh); },
            .wait = [&refresh](int keyboard,
                               double seconds) { return AwaitAnswers(refresh, keyboard, seconds); },
            .abandon = [&refresh] { AbandonRefresh(refresh); }};
}
