#include "tour.h"

#include "stage.h"

namespace pictures {
namespace {

struct Step {
    const char* keys;
    const char* wait_for;
};

struct Picture {
    const char* name;
    const char* title;
    const char* description;
    std::vector<Step> way;  // from the previous picture, or from the main menu
};

// One run of the program.
struct Walk {
    int rows, cols;
    const char* before;  // shell commands that prepare the machine
    const char* after;   // shell commands that undo it
    std::vector<Picture> pictures;
};

// The last row to be known, so that no snapshot lacks one.
constexpr const char* kMainMenu = "IPv6: 2001:db8:10::20/64";
constexpr const char* kEntry = "[ESC to cancel";

constexpr Step kToTheMainMenu = {"<Esc>", kMainMenu};
constexpr Step kToFirstCard = {"1<Enter>", "Network configuration: eth0"};
constexpr Step kToSettings = {"c<Enter>", "Configuration for eth0"};
constexpr Step kBackToSettings = {"<Esc>", "Configuration for eth0"};
constexpr Step kToAccessPoints = {"w<Enter>", "Connect to any access point"};

// clang-format off
const std::vector<Walk>& Walks() {
    static const std::vector<Walk> walks = {
        {24, 80, "", "", {
            {"main-menu", "Main menu",
             "Actions for the whole machine, and the state of every interface. A yellow letter or "
             "digit selects its row.",
             {}},
            {"computer-name", "Change computer name",
             "An entry box: ENTER accepts the text, ESC cancels.",
             {{"n<Enter>", kEntry}}},
            {"time-servers", "Time servers",
             "The servers from which the machine gets its time.",
             {kToTheMainMenu, {"t<Enter>", "Add new server"}}},
            {"diagnostics", "Diagnostics",
             "For names that do not resolve, and hosts that do not answer.",
             {kToTheMainMenu, {"i<Enter>", "Ping test"}}},
            {"resolver", "The plain terminal",
             "The output of commands appears on the plain terminal: here the resolver's "
             "configuration.",
             {{"r<Enter>", "Hit ENTER to continue."}}},
            {"interface", "Interface",
             "One interface: its state and the actions for it.",
             {{"<Enter>", "Ping test"}, kToTheMainMenu, kToFirstCard}},
            {"question", "Are you sure?",
             "Asked before an interface is brought down or updated, for example.",
             {{"u<Enter>", "re you sure?"}}},
            {"interface-settings", "Interface settings",
             "The settings file of an interface, with help for the selected row.",
             {{"n", "Edit configuration"}, kToSettings, {"i", "Example: 192.168.1.42"}}},
            {"address", "Entering an address",
             "The box starts with the current address.",
             {{"<Enter>", kEntry}}},
            {"dhcp-conflict", "Settings that contradict each other",
             "DHCP is red if there is a static address too.",
             {kBackToSettings, {"<Home>d<Space><Down>", "Use DHCP:                      yes"}}},
        }},
        {24, 80, "", "", {
            {"interface-wireless", "Wireless interface",
             "A wireless card shows its network, and has an RF-kill switch and access points.",
             {{"3<Enter>", "Network configuration: wlan0"}}},
            {"access-points", "Access points",
             "The networks in range after a scan. Unknown ones are marked NEW.",
             {kToAccessPoints, {"s<Enter>", "Backstage"}}},
            {"new-access-point", "New access point",
             "A network that is not configured yet.",
             {{"<Home><Down><Down><Down><Down><Down>", "Backstage"},
              {"<Enter>", "SSID: 'Backstage'"}}},
            {"wireless-password", "Entering a password",
             "Passwords show as asterisks.",
             {{"c<Enter>", kEntry}, {"behind the stage", "****************"}}},
            {"known-access-point", "Known access point",
             "A configured network: connect to it or forget it.",
             {{"<Esc>", "Connect to access point"},
              {"<Esc>", "Connect to any access point"},
              {"<End><Up><Enter>", "Forget access point"}}},
        }},
        {24, 80, "", "", {
            {"services", "Services",
             "The first word of each row says what ENTER does.",
             {{"s<Enter>", "volkeep disk management"}}},
            {"smb-accounts", "SMB/CIFS accounts",
             "The accounts of the file server.",
             {{"<Home>ss<Enter>", "Configure user 'editor'"}}},
            {"smb-user", "SMB/CIFS user",
             "One account of the file server.",
             {{"<Home><Down><Down><Enter>", "Remove account"}}},
        }},
        {24, 80, "ip route add default via 192.168.30.9 dev br0 metric 7",
         "ip route del default via 192.168.30.9 dev br0 metric 7", {
            {"multiple-gateways", "Several gateways",
             "The end of the main menu, with a warning: two interfaces have a default gateway.",
             {{"<End>", "WARNING: Multiple gateways active"}}},
        }},
        {43, 132, "", "", {
            {"main-menu-large", "Main menu on a large terminal",
             "Everything fits.",
             {}},
            {"interface-settings-large", "Interface settings on a large terminal",
             "All fourteen settings.",
             {kToFirstCard, kToSettings}},
        }},
    };
    return walks;
}
// clang-format on

void Draw(Stage& stage, const Walk& walk, std::vector<Drawn>& drawn) {
    stage.Sh(walk.before);
    harness::Terminal terminal(stage, OptionsOf(walk.rows, walk.cols));
    Go(terminal, "", kMainMenu);
    for (const Picture& picture : walk.pictures) {
        for (const Step& step : picture.way)
            Go(terminal, step.keys, step.wait_for);
        drawn.push_back(
            {picture.name, {picture.title, picture.description}, TakeSnapshot(terminal)});
    }
    stage.Sh(walk.after);
}

}  // namespace

const char* const kGalleryHead =
    "# Pictures of the screens\n"
    "\n"
    "The program's screens on the demo appliance; [docs/screens.md](../screens.md) describes each\n"
    "row. `tools/screens` draws the pictures and writes this page; `tools/screens --check`, a "
    "part\n"
    "of `./test`, checks that they are up to date.\n";

std::vector<Drawn> DrawScreens() {
    Stage stage;
    std::vector<Drawn> drawn;
    for (const Walk& walk : Walks())
        Draw(stage, walk, drawn);
    return drawn;
}

}  // namespace pictures
