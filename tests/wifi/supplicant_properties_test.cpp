// Properties of every list of networks, whatever the radio receives.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "util/random_fixtures.h"
#include "wifi/supplicant.h"

namespace {

struct Row {
    std::string ssid;
    std::string bssid;

    // Compares byte by byte, as numbers from 0 to 255.
    bool operator<(const Row& other) const {
        return Bytes(ssid) != Bytes(other.ssid) ? Bytes(ssid) < Bytes(other.ssid)
                                                : Bytes(bssid) < Bytes(other.bssid);
    }
    bool operator==(const Row&) const = default;

    static std::vector<unsigned char> Bytes(const std::string& text) {
        return {text.begin(), text.end()};
    }
};

Row AnyRow(Random& random) {
    constexpr const char* kNames[] = {"", "a", "A", "aa", "studio", "\xc3\xa9", "\xff", " "};
    constexpr std::string_view kNotInAColumn("\t\n\0", 3);
    Row row;
    row.ssid = random.OneIn(2) ? random.OneOf(kNames) : random.Text(32, kNotInAColumn);
    row.bssid = "b" + random.Text(2, kNotInAColumn);
    return row;
}

TEST(SupplicantProperties, NetworksAreSortedByNameThenAddress) {
    Random random;
    for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i) {
        std::vector<Row> rows;
        std::string configured = "heading\n";
        std::string scanned = "heading\n";
        for (int count = random.Below(20); count > 0; --count) {
            const Row row = AnyRow(random);
            rows.push_back(row);
            if (random.OneIn(3)) {
                configured += "1\t" + row.ssid + "\t" + row.bssid + "\t\n";
            } else {
                scanned += row.bssid + "\t2437\t-40\t[ESS]\t" + row.ssid + "\n";
            }
        }
        std::sort(rows.begin(), rows.end());
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

        AccessPointMap map;
        ParseConfiguredNetworks(configured, map);
        ParseScanResults(scanned, map);
        std::vector<Row> listed;
        for (const auto& [key, network] : map)
            listed.push_back({network.ssid, network.bssid});
        EXPECT_TRUE(listed == rows) << configured << scanned;
    }
}

}  // namespace
