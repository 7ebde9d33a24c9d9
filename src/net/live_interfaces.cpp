#include "net/live_interfaces.h"

#include <algorithm>

LiveFacts LiveInterfaces(InterfaceRefresh& refresh) {
    return {.forget = [&] { ForgetAnswers(refresh); },
            .ask = [&] { AskInterfaces(refresh); },
            .take = [&](double now) { return TakeAnswers(refresh, now); },
            .ask_kernel = [&] { AskKernel(refresh); },
            .stop = [&] { StopAsking(refresh); },
            .await =
                [&](Wake& wake) {
                    wake.until = std::min(wake.until, AwaitAnswers(refresh, wake.answers));
                }};
}
