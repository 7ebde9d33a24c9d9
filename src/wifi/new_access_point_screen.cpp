#include "wifi/new_access_point_screen.h"

#include <utility>

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "wifi/access_point_screen.h"

namespace {

using State = AccessPointState;

// Asks for a password even if the network is open: every network is configured as WPA-PSK. If the
// supplicant returns no network number, the screen stays up without a message.
Next Connect(State& state) {
    std::optional<Secret> password = PromptPassword("Access point password?");
    if (!password) return Next::Paint;
    const int id = AddNetwork(state.card.name);
    if (id < 0) return Next::Paint;
    ShellEscape(
        [&] { ConfigureNetwork(state.card.name, state.access_point, id, std::move(*password)); });
    return Next::Leave;
}

constexpr Row<State> kRows[] = {
    kAddressAndName,
    kSeparator<State>,
    {"Return to wifi ap menu", 1, 'r', Leave},
    kSeparator<State>,
    {"Connect to access point", 16, 'c', Connect},
};
static_assert(AreSound(kRows));

}  // namespace

void NewAccessPointScreen(const AccessPoint& access_point, const Interface& card) {
    RunAccessPointScreen(kRows, {access_point, card});
}
