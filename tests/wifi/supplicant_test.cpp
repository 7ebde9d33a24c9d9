#include "wifi/supplicant.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/utility_fixtures.h"

namespace {

using namespace std::string_literals;
using Words = std::vector<std::string>;

// ---- listings ----

constexpr const char* kConfiguredHeader = "network id / ssid / bssid / flags\n";
constexpr const char* kScanHeader = "bssid / frequency / signal level / flags / ssid\n";

// A network as one line of text: "id ssid bssid flags", new ones with "NEW".
std::string Text(const AccessPoint& network) {
    return (network.is_new ? "NEW " : "") + std::to_string(network.network_id) + " '" +
           network.ssid + "' " + network.bssid + " " + network.flags;
}

Words Texts(const AccessPointMap& map) {
    Words texts;
    for (const auto& [key, network] : map)
        texts.push_back(Text(network));
    return texts;
}

Words Configured(std::string_view rows) {
    AccessPointMap map;
    ParseConfiguredNetworks(kConfiguredHeader + std::string(rows), map);
    return Texts(map);
}

Words Scanned(std::string_view rows) {
    AccessPointMap map;
    ParseScanResults(kScanHeader + std::string(rows), map);
    return Texts(map);
}

TEST(AccessPoint, ANewRecordIsNotConfigured) {
    const AccessPoint fresh;
    EXPECT_EQ(fresh.bssid, "");
    EXPECT_EQ(fresh.ssid, "");
    EXPECT_EQ(fresh.flags, "");
    EXPECT_EQ(fresh.network_id, -1);
    EXPECT_FALSE(fresh.is_new);
}

TEST(ParseConfiguredNetworks, TakesNumberNameAddressAndFlags) {
    const std::pair<std::string, Words> cases[] = {
        {"", {}},
        {"0\tattic\tany\t[CURRENT]\n12\tmy home\t00:11:22:33:44:55\t[DISABLED]\n",
         {"0 'attic' any [CURRENT]", "12 'my home' 00:11:22:33:44:55 [DISABLED]"}},
        // The last line needs no line feed, flags may be missing, further columns are ignored.
        {"0\tattic\tany\t[CURRENT]", {"0 'attic' any [CURRENT]"}},
        {"0\tattic\tany\t\n", {"0 'attic' any "}},
        {"0\tattic\tany\n", {"0 'attic' any "}},
        {"0\tattic\tany\t[CURRENT]\tx\ty\n", {"0 'attic' any [CURRENT]"}},
        // A hidden network has an empty name; a row without an address is dropped.
        {"3\t\tany\t\n", {"3 '' any "}},
        {"0\tattic\t\t[CURRENT]\n", {}},
        {"0\tattic\n1\n\n", {}},
        // The first of two equal names and addresses wins.
        {"4\thome\tany\t\n2\thome\tany\t[CURRENT]\n", {"4 'home' any "}},
        // A null byte ends its line.
        {"0\tattic\tany\0\t[CURRENT]\n1\thome\tany\t\n"s, {"0 'attic' any ", "1 'home' any "}},
    };
    for (const auto& [rows, networks] : cases)
        EXPECT_EQ(Configured(rows), networks) << rows;
}

// Truncated to an int, a large number would be that of another network.
TEST(ParseConfiguredNetworks, ANumberStartsWithADigitAndFitsAnInt) {
    const std::pair<const char*, int> cases[] = {{"0", 0},
                                                 {"7", 7},
                                                 {"65536", 65536},
                                                 {"3abc", 3},
                                                 {"4 5", 4},
                                                 {"", -1},
                                                 {"-1", -1},
                                                 {"-7", -1},
                                                 {"+7", -1},
                                                 {" 7", -1},
                                                 {"id", -1},
                                                 {"x3", -1},
                                                 {"\xd9\xa3", -1},
                                                 {"2147483648", -1},
                                                 {"4294967296", -1},
                                                 {"4294967297", -1},
                                                 {"99999999999999999999", -1}};
    for (const auto& [column, id] : cases) {
        AccessPointMap map;
        ParseConfiguredNetworks(kConfiguredHeader + std::string(column) + "\tattic\tany\t\n", map);
        ASSERT_EQ(map.size(), 1u) << column;
        EXPECT_EQ(map.begin()->second.network_id, id) << column;
    }
}

TEST(ParseConfiguredNetworks, TheFirstLineIsNeverANetwork) {
    AccessPointMap map;
    ParseConfiguredNetworks("0\tattic\tany\t\n1\thome\tany\t\n", map);
    EXPECT_EQ(Texts(map), (Words{"1 'home' any "}));
}

TEST(ParseConfiguredNetworks, AHeaderAloneGivesNoNetworks) {
    AccessPointMap map;
    ParseConfiguredNetworks("", map);
    ParseConfiguredNetworks("\n", map);
    ParseConfiguredNetworks("network id / ssid", map);
    EXPECT_EQ(Texts(map), Words{});
}

TEST(ParseConfiguredNetworks, ALineOf1023BytesIsOneLine) {
    const std::string name(1023 - std::string("0\t\tany\t\n").size(), 'n');
    EXPECT_EQ(Configured("0\t" + name + "\tany\t\n"), (Words{"0 '" + name + "' any "}));
}

TEST(ParseConfiguredNetworks, ALongerLineIsSplit) {
    const std::string first = "0\tattic\tany\t";
    const std::string line = first + std::string(1023 - first.size(), 'f') + "5\tghost\tany\t[X]\n";
    EXPECT_EQ(Configured(line), (Words{"0 'attic' any " + std::string(1023 - first.size(), 'f'),
                                       "5 'ghost' any [X]"}));
}

TEST(ParseScanResults, TakesAddressFlagsAndName) {
    const std::pair<const char*, Words> cases[] = {
        {"00:11:22:33:44:55\t2437\t-61\t[WPA2-PSK-CCMP][ESS]\tmy home\n",
         {"NEW -1 'my home' 00:11:22:33:44:55 [WPA2-PSK-CCMP][ESS]"}},
        // A hidden network has an empty or no name, and may have no flags.
        {"00:11:22:33:44:55\t2437\t-61\t[ESS]\t\n", {"NEW -1 '' 00:11:22:33:44:55 [ESS]"}},
        {"00:11:22:33:44:55\t2437\t-61\t[ESS]\n", {"NEW -1 '' 00:11:22:33:44:55 [ESS]"}},
        {"00:11:22:33:44:55\n", {"NEW -1 '' 00:11:22:33:44:55 "}},
        // A row without an address is dropped, and further columns are ignored.
        {"\t2437\t-61\t[ESS]\thome\n\n", {}},
        {"00:11:22:33:44:55\t2437\t-61\t[ESS]\thome\tgarden\n",
         {"NEW -1 'home' 00:11:22:33:44:55 [ESS]"}},
        // An access point seen twice is listed once.
        {"00:11:22:33:44:55\t2437\t-61\t[ESS]\thome\n"
         "00:11:22:33:44:55\t5180\t-70\t[WPS]\thome\n",
         {"NEW -1 'home' 00:11:22:33:44:55 [ESS]"}},
    };
    for (const auto& [rows, networks] : cases)
        EXPECT_EQ(Scanned(rows), networks) << rows;
}

TEST(ParseScanResults, TheFirstLineIsNeverANetwork) {
    AccessPointMap map;
    ParseScanResults("00:11:22:33:44:55\t2437\t-61\t[ESS]\thome\n", map);
    EXPECT_EQ(Texts(map), Words{});
}

TEST(ParseScanResults, ALineLongerThan1023BytesIsSplit) {
    const std::string first = "00:11:22:33:44:55\t2437\t-61\t[ESS]\t";
    const std::string name(1023 - first.size(), 'n');
    EXPECT_EQ(Scanned(first + name + "00:99:99:99:99:99\t1\t2\t[X]\tghost\n"),
              (Words{"NEW -1 'ghost' 00:99:99:99:99:99 [X]",
                     "NEW -1 '" + name + "' 00:11:22:33:44:55 [ESS]"}));
}

TEST(ParseScanResults, AConfiguredAccessPointHidesItsScanResult) {
    AccessPointMap map;
    ParseConfiguredNetworks(
        kConfiguredHeader + "0\thome\t00:11:22:33:44:55\t[CURRENT]\n1\tattic\tany\t\n"s, map);
    ParseScanResults(kScanHeader +
                         "00:11:22:33:44:55\t2437\t-61\t[ESS]\thome\n"
                         "00:11:22:33:44:66\t2437\t-61\t[ESS]\thome\n"
                         "00:11:22:33:44:77\t2437\t-61\t[ESS]\tattic\n"s,
                     map);
    EXPECT_EQ(Texts(map), (Words{"NEW -1 'attic' 00:11:22:33:44:77 [ESS]", "1 'attic' any ",
                                 "0 'home' 00:11:22:33:44:55 [CURRENT]",
                                 "NEW -1 'home' 00:11:22:33:44:66 [ESS]"}));
}

// ---- hostile listings ----

// Bytes that an access point might choose to break the listing or a command: separators, quotes,
// escapes, control characters and shell syntax.
TEST(Listings, HostileBytesInventNothing) {
    const std::string pieces[] = {
        "\t",   "\n",      "\0"s,  "\t\t", "'",   "\"", "\\", "$(reboot)",         "`",
        "\r",   "\x1b[2J", "\x80", "\xff", "any", "0",  "-1", "00:11:22:33:44:55", ";",
        "%s%n", "é",       " "};
    std::mt19937 random(20240229);
    for (int round = 0; round < 3000; ++round) {
        std::string listing;
        for (int count = static_cast<int>(random() % 400); count > 0; --count)
            listing += pieces[random() % std::size(pieces)];
        AccessPointMap map;
        ParseConfiguredNetworks(listing, map);
        ParseScanResults(listing, map);
        for (const auto& [key, network] : map) {
            ASSERT_EQ(key, AccessPointKey(network.ssid, network.bssid));
            ASSERT_NE(network.bssid, "");
            ASSERT_GE(network.network_id, -1);
            for (const std::string& text : {network.ssid, network.bssid, network.flags}) {
                ASSERT_EQ(text.find_first_of("\t\n\0"s), std::string::npos);
                ASSERT_NE(listing.find(text), std::string::npos);
            }
        }
    }
}

TEST(Listings, AnyNumberOfColumnsIsHarmless) {
    std::string letters;
    for (int i = 0; i < 300; ++i)
        letters += std::string(1, static_cast<char>('a' + i % 26)) + "\t";
    EXPECT_EQ(Configured(letters + "\n"), (Words{"-1 'b' c d"}));
    EXPECT_EQ(Scanned(letters + "\n"), (Words{"NEW -1 'e' a d"}));
    const std::string tabs(1022, '\t');
    EXPECT_EQ(Configured(tabs + "\n"), Words{});
    EXPECT_EQ(Scanned(tabs + "\n"), Words{});
    const std::string line_feeds(5000, '\n');
    EXPECT_EQ(Configured(line_feeds), Words{});
    const std::string nulls(5000, '\0');
    EXPECT_EQ(Scanned(nulls), Words{});
}

TEST(Listings, ReadsTenThousandNetworks) {
    std::string rows;
    for (int i = 9999; i >= 0; --i) {
        char row[64];
        std::snprintf(row, sizeof row, "00:00:00:00:%02x:%02x\t2412\t-50\t[ESS]\tnet\n", i / 256,
                      i % 256);
        rows += row;
    }
    const Words networks = Scanned(rows);
    ASSERT_EQ(networks.size(), 10000u);
    EXPECT_EQ(networks.front(), "NEW -1 'net' 00:00:00:00:00:00 [ESS]");
    EXPECT_EQ(networks.back(), "NEW -1 'net' 00:00:00:00:27:0f [ESS]");
}

// ---- the list ----

// A wpa_cli of the test's own, first in PATH while the object lives.
struct Client : OwnCommand {
    explicit Client(const std::string& script) : OwnCommand("wpa_cli", script) {}

    // What it prints for "list_networks", "scan_result" or "add_network", from the script kReplies.
    void Reply(const std::string& command, const std::string& text) const {
        folder.File(command, text);
    }
    static constexpr const char* kReplies = "[ \"$1 $2\" != '-i wlan0' ] || cat \"${0%/*}/$3\"\n";
};

Words Loaded() {
    Words rows;
    for (const AccessPoint& network : LoadAccessPoints("wlan0"))
        rows.push_back(Text(network));
    return rows;
}

TEST(LoadAccessPoints, SortsByTheBytesOfNameAndAddress) {
    const Client client(Client::kReplies);
    client.Reply("list_networks", kConfiguredHeader +
                                      "0\thome\tany\t\n"
                                      "1\tzebra\tany\t\n"
                                      "3\tyard\t00:11:22:33:44:99\t\n"
                                      "2\tHome\tany\t\n"s);
    client.Reply("scan_result", kScanHeader +
                                    "b0:00:00:00:00:01\t1\t2\t[ESS]\thome\n"
                                    "00:11:22:33:44:55\t1\t2\t[ESS]\thome\n"
                                    "00:11:22:33:44:66\t1\t2\t[ESS]\t\xc3\xa4rger\n"
                                    "00:11:22:33:44:77\t1\t2\t[ESS]\thome 2\n"
                                    "00:11:22:33:44:99\t1\t2\t[ESS]\tyard\n"
                                    "00:11:22:33:44:88\t1\t2\t[ESS]\t\n"s);
    EXPECT_EQ(Loaded(),
              (Words{"NEW -1 '' 00:11:22:33:44:88 [ESS]", "2 'Home' any ",
                     "NEW -1 'home' 00:11:22:33:44:55 [ESS]", "0 'home' any ",
                     "NEW -1 'home' b0:00:00:00:00:01 [ESS]",
                     "NEW -1 'home 2' 00:11:22:33:44:77 [ESS]", "3 'yard' 00:11:22:33:44:99 ",
                     "1 'zebra' any ", "NEW -1 '\xc3\xa4rger' 00:11:22:33:44:66 [ESS]"}));
}

TEST(LoadAccessPoints, AFailingClientGivesAnEmptyList) {
    const Client client("echo \"Failed to connect to wpa_supplicant\" >&2; exit 255\n");
    EXPECT_EQ(Loaded(), Words{});
}

// ---- commands ----

TEST(IsQuotable, QuotesAndBackslashesAreNot) {
    for (const char* mark : {"\"", "'", "\\"}) {
        EXPECT_FALSE(IsQuotable(mark));
        EXPECT_FALSE(IsQuotable(mark + "tail"s));
        EXPECT_FALSE(IsQuotable("mid"s + mark + "dle"));
        EXPECT_FALSE(IsQuotable("head"s + mark));
        EXPECT_FALSE(IsQuotable("a\0b"s + mark)) << "after a null byte";
    }
    EXPECT_FALSE(IsQuotable("\"'\\"));
}

TEST(IsQuotable, EveryOtherTextIs) {
    EXPECT_TRUE(IsQuotable(""));
    EXPECT_TRUE(IsQuotable("$(reboot) `reboot` ; & | %s\n\t\x1b"));
    for (int byte = 0; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        const bool mark = character == '"' || character == '\'' || character == '\\';
        EXPECT_EQ(IsQuotable(std::string(1, character)), !mark) << byte;
    }
}

TEST(WpaCliCommand, PutsTheSuffixAfterTheInterface) {
    EXPECT_EQ(WpaCliCommand("wlan0", " list_networks"), "wpa_cli -i wlan0 list_networks");
    EXPECT_EQ(WpaCliCommand("wlp2s0.7", " set update_config 1 "),
              "wpa_cli -i wlp2s0.7 set update_config 1 ");
    EXPECT_EQ(WpaCliCommand("wlan0", ""), "wpa_cli -i wlan0");
}

TEST(WpaCliCommand, AnInterfaceNameIsOneWordForTheShell) {
    const Client client("printf '%s|' \"$@\"\n");
    for (const char* name : {"wlan0", "a b", "$(x)", "a;b", "it's", "*", "wlan\xc3\xa4"}) {
        const std::string command = WpaCliCommand(name, " scan");
        std::FILE* output = popen(command.c_str(), "re");
        ASSERT_NE(output, nullptr);
        char words[128] = "";
        EXPECT_NE(std::fgets(words, sizeof words, output), nullptr);
        pclose(output);
        EXPECT_EQ(words, "-i|"s + name + "|scan|");
    }
}

TEST(SupplicantPidPath, ContainsTheAddressInLowerCase) {
    EXPECT_EQ(SupplicantPidPath("00:1A:2B:3C:4D:5E"),
              "/var/network/00:1a:2b:3c:4d:5e/wpa_supplicant.pid");
    EXPECT_EQ(SupplicantPidPath("ab:cd:ef:AB:CD:EF"),
              "/var/network/ab:cd:ef:ab:cd:ef/wpa_supplicant.pid");
}

TEST(AddNetwork, ReturnsTheNumberInTheFirstLine) {
    const Client client(Client::kReplies);
    const struct {
        std::string reply;
        int id;
    } cases[] = {{"0\n", 0},
                 {"12\n", 12},
                 {"7", 7},
                 {"3; reboot\n", 3},
                 {"5\n6\n", 5},
                 {"4\0005\n"s, 4},
                 {"FAIL\n", -1},
                 {"FAIL\n5\n", -1},
                 {"", -1},
                 {"\n5\n", -1},
                 {" 5\n", -1},
                 {"-1\n", -1},
                 {"-3\n", -1},
                 {"+3\n", -1},
                 {"2147483647\n", 2147483647},
                 {"4294967297\n", -1},
                 {"UNKNOWN COMMAND\n", -1},
                 {std::string(1023, ' ') + "5\n", -1}};
    for (const auto& [reply, id] : cases) {
        client.Reply("add_network", reply);
        EXPECT_EQ(AddNetwork("wlan0"), id) << reply.substr(0, 40);
    }
}

}  // namespace
