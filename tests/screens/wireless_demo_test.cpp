// A new operator's way through the wireless screens of the demo appliance.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

constexpr const char* kDemoInterface = "Network configuration: wlan0 (02:00:00:00:10:40)";
constexpr const char* kDemoList = "Wireless access points for wlan0 (02:00:00:00:10:40)";
constexpr const char* kSoftBlock = "/sys/class/net/wlan0/phy80211/rfkill0/soft";
constexpr const char* kBlockState = "/sys/class/net/wlan0/phy80211/rfkill0/state";

class Demo : public Machine {
  public:
    Demo() : Machine(Kind::kDemo) {
        Cards("");  // preloads the library; the demo has its own description
    }
    static TerminalOptions Options() {
        TerminalOptions options = OfSize(30, 100);
        options.environment = {{"APPLIANCE_CARDS", "/run/air/cards"}};
        return options;
    }
};

Words Networks(const Terminal& t) {
    Words rows;
    for (int row = kFirstNetwork; !t.Row(row).empty(); row++)
        rows.push_back(t.Row(row).substr(kFirstLine));
    return rows;
}

TEST(DemoAppliance, NetworksCanBeScannedJoinedForgottenAndLeft) {
    Demo box;
    Terminal t(box, Demo::Options());
    t.WaitFor("    3. wlan0   02:00:00:00:10:40  Link active  Interface up");
    t.WaitFor("Wireless: 'studio' @2.437GHz A/P 02:00:00:00:20:01 Enabled: Yes, RF-Kill: off");
    t.Go("3<Enter>", kDemoInterface);
    t.Go("w<Enter>", kDemoList);
    EXPECT_EQ(Networks(t), Words{"      (any)              studio"});

    t.Go("s<Enter>", "Backstage");
    const Words in_the_air = {
        "NEW  02:00:00:00:20:19   (no SSID)",
        "NEW  02:00:00:00:20:07   Backstage",
        "NEW  02:00:00:00:20:23   Caf\\xc3\\xa9 Lumi\\xc3\\xa8re",
        "NEW  02:00:00:00:20:11   guests",
        "NEW  02:00:00:00:20:01   studio",
        "NEW  02:00:00:00:20:02   studio",
        "      (any)              studio",
        "NEW  b2:00:00:00:20:01   studio",
    };
    EXPECT_EQ(Networks(t), in_the_air);

    OpenNetwork(t, 1);
    Join(t, "behind the stage");
    t.WaitFor("Return to wifi menu");
    Words joined = in_the_air;
    joined[1] = "     02:00:00:00:20:07   Backstage";
    EXPECT_EQ(Networks(t), joined);
    t.Go("<Esc>",
         "Wireless: 'Backstage' @2.412GHz A/P 02:00:00:00:20:07 Enabled: Yes, RF-Kill: off");

    t.Go("w<Enter>", kDemoList);
    t.Go("d<Enter>", "Wireless: '' A/P 00:00:00:00:00:00 Enabled: Yes, RF-Kill: off");
    EXPECT_TRUE(t.Shows(kDemoInterface));
    EXPECT_TRUE(t.Shows("Disconnected  Interface up"));

    t.Go("w<Enter>", kDemoList);
    EXPECT_EQ(Networks(t), joined);
    OpenNetwork(t, 1);
    t.Go("cc<Enter>", "Are you sure? [y/n]");
    t.Go("y", "Return to wifi menu");
    EXPECT_EQ(Networks(t), in_the_air);
}

TEST(DemoAppliance, ItsRfkillSwitchDisconnectsTheCard) {
    Demo box;
    Terminal t(box, Demo::Options());
    t.WaitFor("3. wlan0");
    t.Go("3<Enter>", "Enable soft RF-kill");
    t.Go("r<Enter>", "Disable soft RF-kill");
    EXPECT_EQ(box.Read(kSoftBlock), "1\n");
    box.WaitUntil([&] { return box.Read(kBlockState) == "0\n"; }, "the switch to act");
    // Answering a question with "no" refreshes the screen.
    t.Go("u<Enter>n", "Wireless: '' A/P 00:00:00:00:00:00 Enabled: No, RF-Kill: S/W");
    t.Go("r<Enter>", "Enable soft RF-kill");
    box.WaitUntil([&] { return box.Read(kBlockState) == "1\n"; }, "the switch to act again");
    t.Go("u<Enter>n",
         "Wireless: 'studio' @2.437GHz A/P 02:00:00:00:20:01 Enabled: Yes, RF-Kill: off");
}

}  // namespace
}  // namespace wireless
