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

constexpr const char* kMainMenu = "Network configuration main menu";
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
             "What can be done with the whole machine, and the state of every interface. A yellow "
             "letter or digit selects its row.",
             {}},
            {"computer-name", "Change computer name",
             "Texts are typed into a box; ENTER takes them, ESC leaves all as it was.",
             {{"n<Enter>", kEntry}}},
            {"time-servers", "Time servers",
             "The servers that the machine takes its time from.",
             {kToTheMainMenu, {"t<Enter>", "Add new server"}}},
            {"diagnostics", "Diagnostics",
             "What to look at when names are not found or nothing answers.",
             {kToTheMainMenu, {"i<Enter>", "Ping test"}}},
            {"resolver", "The plain terminal",
             "What a command prints is read on the plain terminal: here the resolver's "
             "configuration.",
             {{"r<Enter>", "Hit ENTER to continue."}}},
            {"interface", "Interface",
             "One interface: its state, and what can be done with it.",
             {{"<Enter>", "Ping test"}, kToTheMainMenu, kToFirstCard}},
            {"question", "Are you sure?",
             "Nothing that cuts a connection happens without this question.",
             {{"u<Enter>", "re you sure?"}}},
            {"interface-settings", "Interface settings",
             "The settings file of an interface, and help about the selected row.",
             {{"n", "Edit configuration"}, kToSettings, {"i", "Example: 192.168.1.42"}}},
            {"address", "An address is typed in",
             "The box begins with the present address.",
             {{"<Enter>", kEntry}}},
            {"dhcp-conflict", "Settings that contradict each other",
             "DHCP is red while there is a static address, too.",
             {kBackToSettings, {"<Home>d<Space><Down>", "Use DHCP:                      yes"}}},
        }},
        {24, 80, "", "", {
            {"interface-wireless", "Wireless interface",
             "A wireless card shows its network; it has a radio-kill switch and access points.",
             {{"3<Enter>", "Network configuration: wlan0"}}},
            {"access-points", "Access points",
             "The networks in reach after a scan. Those that are not known yet are marked NEW.",
             {kToAccessPoints, {"s<Enter>", "Backstage"}}},
            {"new-access-point", "New access point",
             "A network that is not known yet.",
             {{"<Home><Down><Down><Down><Down><Down>", "Backstage"},
              {"<Enter>", "SSID: 'Backstage'"}}},
            {"wireless-password", "A password is typed in",
             "Passwords show as asterisks.",
             {{"c<Enter>", kEntry}, {"behind the stage", "****************"}}},
            {"known-access-point", "Known access point",
             "A network that the card knows: it can be chosen or forgotten.",
             {{"<Esc>", "Connect to access point"},
              {"<Esc>", "Connect to any access point"},
              {"<End><Up><Enter>", "Forget access point"}}},
        }},
        {24, 80, "", "", {
            {"services", "Services",
             "Every row begins with what ENTER will do about the service.",
             {{"s<Enter>", "volkeep disk management"}}},
            {"smb-accounts", "SMB/CIFS accounts",
             "Who may use the file server.",
             {{"<Home>ss<Enter>", "Configure user 'editor'"}}},
            {"smb-user", "SMB/CIFS user",
             "One account of the file server.",
             {{"<Home><Down><Down><Enter>", "Remove account"}}},
        }},
        {24, 80, "ip route add default via 192.168.30.9 dev br0 metric 7",
         "ip route del default via 192.168.30.9 dev br0 metric 7", {
            {"multiple-gateways", "Several gateways",
             "The end of the main menu, with a warning: two interfaces claim the way to the "
             "outside.",
             {{"<End>", "WARNING: Multiple gateways active"}}},
        }},
        {43, 132, "", "", {
            {"main-menu-large", "Main menu on a large terminal",
             "With room for everything at once.",
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
    "As the program draws them on the demo appliance. `tools/screens` makes them, this page too;\n"
    "`tools/screens --check` tells whether they are still true, and is a part of `./test`.\n"
    "[What every row does](../screens.md) is described elsewhere.\n";

std::vector<Drawn> DrawScreens() {
    Stage stage;
    std::vector<Drawn> drawn;
    for (const Walk& walk : Walks())
        Draw(stage, walk, drawn);
    return drawn;
}

}  // namespace pictures
