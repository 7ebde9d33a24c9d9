// The password of a network: its entry on the screen, and that no trace of it remains.
#include <cstring>

#include "secret.h"
#include "wireless_fixtures.h"

namespace wireless {
namespace {

// Asks for the password of the new network "home".
class Entry : public List {
  public:
    explicit Entry(WirelessBox& box, TerminalOptions options = {}) : List(box, options) {
        OpenNetwork(*this, 0);
        Ask();
    }
    void Ask() {
        Press("c<Enter>");
        WaitFor("Access point password? [ESC to cancel]");
        Settle();
    }
};

class OneNetwork : public WirelessBox {
  public:
    OneNetwork() { SetSeen(Seen(kHome, "home")); }
    // The password that the supplicant was given; "(none)" if it was not.
    std::string Psk() {
        for (const Call& call : Calls("wpa_cli")) {
            if (call.args.size() == 6 && call.args[4] == "psk") return call.args[5];
        }
        return "(none)";
    }
};

// ---- the entry ----

TEST(PasswordEntry, ShowsAStarForEachCharacter) {
    OneNetwork box;
    Entry t(box);
    // A box of five lines in the middle: border, question, empty line, entry, border.
    constexpr int kTop = 9, kQuestion = 10, kLine = 12, kBottom = 13;
    EXPECT_EQ(t.Find("Access point password? [ESC to cancel]"), kQuestion);
    EXPECT_EQ(t.FindColumn("Access point password? [ESC to cancel]"), 2);
    EXPECT_TRUE(t.Cell(kQuestion, 2).bold);
    EXPECT_FALSE(t.Cell(kQuestion, 2 + 23).bold) << "the hint must not be bold";
    for (const int corner : {0, 79}) {
        EXPECT_NE(t.Cell(kTop, corner).text, " ");
        EXPECT_NE(t.Cell(kBottom, corner).text, " ");
    }
    EXPECT_TRUE(t.CursorVisible());
    t.Type("secret");
    t.WaitFor("******");
    EXPECT_EQ(t.FindColumn("******"), 2);
    EXPECT_FALSE(t.Shows("*******"));
    for (int column = 2; column < 78; column++) {
        const Cell cell = t.Cell(kLine, column);
        ASSERT_EQ(cell.text, column < 8 ? "*" : " ") << column;
        ASSERT_EQ(cell.bg, kBlue) << column;
        ASSERT_TRUE(cell.underline) << column;
        if (column < 8) {
            ASSERT_TRUE(cell.bold) << column;
        }
    }
    EXPECT_NE(t.Cell(kLine, 1).bg, kBlue);
    EXPECT_NE(t.Cell(kLine, 78).bg, kBlue);
    EXPECT_EQ(t.CursorRow(), kLine);
    EXPECT_EQ(t.CursorCol(), 8);
    t.Press("<Backspace><Delete>");
    t.WaitForGone("*****");
    EXPECT_EQ(t.CursorCol(), 6);
    EXPECT_EQ(t.Cell(kLine, 6).bg, kBlue);
    EXPECT_EQ(t.Output().find("secret"), std::string::npos);
}

TEST(PasswordEntry, AcceptsTextAndDeletingKeys) {
    OneNetwork box;
    Entry t(box);
    t.Press("<Backspace><Delete>");
    t.SendBytes("\x08\x7f");
    t.Type("axb");
    t.SendBytes("\x7f\x7f");  // ax
    t.Press("b<Left><Right><Up><Down><Home><End><PageUp><PageDown><Tab><F5><C-a>c");
    t.SendBytes("\xc3\xa9\xff\x80");
    t.Type("de");
    t.SendBytes("\x08");
    t.Press("f<Enter>");
    box.WaitForCommand("save_config");
    EXPECT_EQ(box.Psk(), "\"abcdf\"");
}

TEST(PasswordEntry, IsLimitedToItsLineAndTo255Characters) {
    const struct {
        int columns;
        size_t most;
    } cases[] = {{80, 76}, {132, 128}, {258, 254}, {300, 255}};
    OneNetwork box;
    for (const auto& [columns, most] : cases) {
        SCOPED_TRACE(columns);
        box.ForgetCalls();
        Entry t(box, OfSize(24, columns));
        std::string typed;
        for (size_t i = 0; i < most + 5; i++)
            typed += static_cast<char>('a' + i % 26);
        t.Type(typed);
        t.Press("<Left>");
        t.Settle();
        EXPECT_NE(t.Row(12).find(std::string(most, '*')), std::string::npos);
        EXPECT_EQ(t.Row(12).find(std::string(most + 1, '*')), std::string::npos);
        // After deleting the last one, another fits.
        t.Press("<Backspace>+#<Enter>");
        box.WaitForCommand("save_config");
        EXPECT_EQ(box.Psk(), "\"" + typed.substr(0, most - 1) + "+\"");
    }
}

// ---- traces in memory ----

// The longest possible password: the longer it is, the more copies a careless buffer leaves.
constexpr const char* kSecret = "Quux7-Zebra#Plinth_42;vortex Jib9+Wharf%Sphinx!K0bold/Myrrh&Ew3";
static_assert(std::char_traits<char>::length(kSecret) == 63);

TEST(PasswordMemory, HoldsItOnlyDuringTheEntry) {
    OneNetwork box;
    Entry t(box);
    t.Type(kSecret);
    t.WaitFor(std::string(strlen(kSecret), '*'));
    t.Settle();
    EXPECT_NE(TracesOfSecret(t, kSecret), Words{})
        << "the search must find a password that is there";
    t.Press("<Esc>");
    t.WaitForGone("Access point password?");
    t.Settle();
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(PasswordMemory, IsErasedIfTheSupplicantRefusesTheNetwork) {
    OneNetwork box;
    box.SetNumber("FAIL\n");
    Entry t(box);
    t.Type(kSecret);
    t.Press("<Enter>");
    t.WaitForGone("Access point password?");
    t.Settle();
    EXPECT_EQ(box.Actions(), Words{"add_network"});
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(PasswordMemory, IsErasedAsSoonAsTheSupplicantHasIt) {
    OneNetwork box;
    box.Hold("enable_network");
    Entry t(box);
    t.Type(kSecret);
    t.Press("<Enter>");
    box.WaitForCommand("enable_network|0");
    EXPECT_EQ(box.Psk(), "\"" + std::string(kSecret) + "\"");
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(PasswordMemory, IsErasedIfThePasswordCannotBeQuoted) {
    OneNetwork box;
    box.Hold("enable_network");
    Entry t(box);
    t.Type(kSecret + std::string("'"));
    t.Press("<Enter>");
    box.WaitForCommand("enable_network|0");
    EXPECT_EQ(box.Psk(), "(none)");
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(PasswordMemory, IsErasedAfterConnecting) {
    OneNetwork box;
    Entry t(box);
    t.Type(kSecret);
    t.Press("<Enter>");
    t.WaitFor("Return to wifi menu");
    t.Settle();
    EXPECT_EQ(box.Psk(), "\"" + std::string(kSecret) + "\"");
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(PasswordMemory, OnlyOneCommandReceivesIt) {
    OneNetwork box;
    // Every call records the arguments and environments of all processes in the machine.
    box.StandInScript("wpa_cli",
                      "cat /proc/[0-9]*/cmdline /proc/[0-9]*/environ 2>/dev/null "
                      ">\"/mnt/air/processes $3 $5\"\n"
                      "case $3 in scan_result) cat /mnt/air/seen ;; *) echo 0 ;; esac\n");
    Entry t(box);
    t.Type(kSecret);
    t.Press("<Enter>");
    box.WaitForCommand("save_config");
    t.WaitUntil([&] { return t.Children() == 0; }, "the end of the last command");
    EXPECT_EQ(box.Sh("cd /mnt/air; grep -al 'Quux7-Zebra' processes*"),
              "processes set_network psk\n");
    EXPECT_EQ(box.Sh("cd /mnt/air; ls processes* | wc -l"), "11\n");
    for (const Call& call : box.Calls()) {
        const bool told = call.Line().find(kSecret) != std::string::npos;
        EXPECT_EQ(told, WirelessBox::Joined(call).rfind("set_network|0|psk|", 0) == 0) << call;
    }
    // Nor is it in any written file, except for the log of calls and the record above.
    EXPECT_EQ(box.Sh("grep -arl 'Quux7-Zebra' /mnt/.layers /run /dev/shm || true"), "");
}

}  // namespace
}  // namespace wireless
