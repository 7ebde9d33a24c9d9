#include "journey.h"

#include "stage.h"

namespace pictures {
namespace {

constexpr double kLook = 2.2;     // for a new screen and the keys that come next
constexpr double kMove = 1.2;     // for the effect of a key
constexpr double kLetter = 0.13;  // for a typed letter
constexpr double kEnd = 5;

constexpr const char* kAddress = "192.168.21.5";

// Each frame shows the keys pressed next, so they are known before they are pressed.
class Recorder {
  public:
    explicit Recorder(Stage& stage) : terminal_(stage, OptionsOf(24, 80)) {}

    harness::Terminal& terminal() { return terminal_; }
    std::vector<Frame> frames() { return std::move(frames_); }

    void Show(const std::vector<std::string>& next_keys, const std::string& caption,
              double seconds) {
        frames_.push_back({TakeSnapshot(terminal_), next_keys, caption, seconds});
    }

    // Letter by letter, with the caption of the previous frame.
    void Type(const std::string& text) {
        const Frame before = frames_.back();
        for (size_t length = 1; length <= text.size(); length++) {
            Go(terminal_, text.substr(length - 1, 1), text.substr(0, length));
            Show(before.keys, before.caption, kLetter);
        }
    }

  private:
    harness::Terminal terminal_;
    std::vector<Frame> frames_;
};

}  // namespace

const Label kJourneyLabel = {
    "A new card gets a fixed address",
    "Select the second interface on the main menu, open its settings, turn DHCP off, enter an "
    "address, save, and update the interface: it shows the address."};

std::vector<Frame> RecordJourney() {
    Stage stage;
    stage.Remove("/etc/network/02:00:00:00:10:21");
    stage.HoldNetworkScript();
    Recorder film(stage);
    harness::Terminal& t = film.terminal();

    Go(t, "", "IPv6: 2001:db8:10::20/64");
    film.Show({"2"}, "selects the second interface", kLook);
    Go(t, "2", "2. eth1");
    film.Show({"ENTER"}, "opens it", kMove);
    Go(t, "<Enter>", "Network configuration: eth1");
    film.Show({"C"}, "selects \"Edit configuration\"", kLook);
    Go(t, "c", "Edit configuration");
    film.Show({"ENTER"}, "opens the settings", kMove);
    Go(t, "<Enter>", "Configuration for eth1");
    film.Show({"D"}, "selects \"Use DHCP\"", kLook);
    Go(t, "d", "Use DHCP:                      yes");
    film.Show({"SPACE"}, "turns it off", kMove);
    Go(t, "<Space>", "Use DHCP:                      no");
    film.Show({"I"}, "selects \"Static IP address\"", kMove);
    Go(t, "i", "Static IP address:");
    film.Show({"ENTER"}, "opens an entry box", kMove);
    Go(t, "<Enter>", "[ESC to cancel");
    film.Show({}, "typing the address", kMove);
    film.Type(kAddress);
    film.Show({"ENTER"}, "accepts it", kMove);
    Go(t, "<Enter>", std::string("Static IP address:             ") + kAddress);
    film.Show({"S"}, "selects \"Save changes\"", kMove);
    Go(t, "s", "Save changes");
    film.Show({"ENTER"}, "writes the settings file", kMove);
    Go(t, "<Enter>", "Network configuration: eth1");
    film.Show({"U", "U"}, "selects \"Update interface from config\"", kLook);
    Go(t, "uu", "Update interface from config");
    film.Show({"ENTER"}, "asks before it acts", kMove);
    Go(t, "<Enter>", "re you sure?");
    film.Show({"Y"}, "stops and starts the interface", kLook);
    Go(t, "y", std::string("eth1: ") + kAddress);
    film.Show({}, "the network script at work", kLook);
    stage.ShowLink(true);
    stage.Continue();
    t.WaitFor("Network configuration: eth1");
    Go(t, "", std::string("IPv4: ") + kAddress);
    film.Show({}, "the interface has its address", kEnd);
    return film.frames();
}

}  // namespace pictures
