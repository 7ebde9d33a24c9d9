#include "wifi/known_access_point_screen.h"

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "wifi/access_point_screen.h"

namespace {

using State = AccessPointState;

Next Connect(State& state) {
    if (state.access_point.network_id < 0) return Next::Stay;
    ShellEscape([&] { SelectAccessPoint(state.card.name, state.access_point); });
    return Next::Leave;
}

Next Forget(State& state) {
    if (state.access_point.network_id < 0) return Next::Stay;
    if (!AskYesNoOnBlankScreen()) return Next::Rebuild;
    ShellEscape([&] { RemoveAccessPoint(state.card.name, state.access_point); });
    return Next::Leave;
}

// Both actions share the hot key c: pressing it again selects the other one.
constexpr Row<State> kRows[] = {
    kAddressAndName,
    kSeparator<State>,
    {"Return to wifi ap menu", 1, 'r', Leave},
    kSeparator<State>,
    {"Connect to access point", 16, 'c', Connect},
    {"Forget access point", 17, 'c', Forget},
};
static_assert(AreSound(kRows));

}  // namespace

void KnownAccessPointScreen(const AccessPoint& access_point, const Interface& card) {
    RunAccessPointScreen(kRows, {access_point, card});
}
