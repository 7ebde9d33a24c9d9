// Fuzz targets for every reader of outside text, and for the menu engine. Each is built as a
// program of its own (fuzz_NAME) that takes any bytes, checks what must hold of them whatever they
// are, and aborts when it does not.
//
//     ./fuzz NAME SECONDS
#include <curses.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

#include "net/interface_config.h"
#include "net/interface_status.h"
#include "net/interface_table.h"
#include "net/route_table.h"
#include "services/ftp_tls.h"
#include "services/smb_accounts.h"
#include "services/unmount.h"
#include "system/ntp_config.h"
#include "ui/menu.h"
#include "ui/text.h"
#include "util/command.h"
#include "util/lines.h"
#include "util/utility.h"
#include "wifi/supplicant.h"

namespace {

void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

[[maybe_unused]] void settings(std::string_view text) {
    InterfaceConfig first;
    SetConfigDefaults(first);
    ParseInterfaceConfig(text, first);
    const std::string written = FormatInterfaceConfig(first);
    InterfaceConfig second;
    SetConfigDefaults(second);
    ParseInterfaceConfig(written, second);
    const bool fits = written.size() < 1000;
    Require(!fits || FormatInterfaceConfig(second) == written, "what was written reads the same");
    Require(std::count(written.begin(), written.end(), '\n') == 14, "fourteen lines are written");
}

[[maybe_unused]] void routes(std::string_view text) {
    RouteTable = ParseRouteTable(text);
    CheckMultipleGateways();
    for (const RouteEntry& route : RouteTable) {
        Require(!route.iface.empty(), "a route has an interface");
        const RouteEntry* found = FindGateway(route.iface);
        Require(found == nullptr || found->iface == route.iface, "a gateway is its interface's");
    }
}

[[maybe_unused]] void interfaces(std::string_view text) {
    for (const std::string& name : ParseInterfaceList(text)) {
        Require(!name.empty() && name.size() <= 127, "a name has 1 to 127 bytes");
        Require(name.find_first_of(": \t\n") == std::string::npos, "a name is one word");
        const std::string word = ShellWord(name);
        Require(word == name || (word.front() == '\'' && word.back() == '\''), "a name is quoted");
    }
}

[[maybe_unused]] void addresses(std::string_view text) {
    const std::string address = LastGlobalIPv6(text);
    Require(address.size() <= 255, "an address fits its line");
    Require(address.find_first_of(" \n") == std::string::npos, "an address is one word");
}

void CheckNetworks(const AccessPointMap& map) {
    for (const auto& [key, network] : map) {
        Require(!network.bssid.empty(), "a network has a BSSID");
        Require(key.first == network.ssid && key.second == network.bssid, "the key is its own");
    }
}

[[maybe_unused]] void networks(std::string_view text) {
    AccessPointMap map;
    ParseConfiguredNetworks(text, map);
    const std::size_t configured = map.size();
    CheckNetworks(map);
    ParseScanResults(text, map);
    CheckNetworks(map);
    Require(map.size() >= configured, "the scan takes nothing away");
}

[[maybe_unused]] void accounts(std::string_view text) {
    const SmbAccountList list = ParseSmbAccounts(text);
    bool root = false;
    for (const SmbAccount& account : list.accounts) {
        Require(!account.name.empty(), "an account has a name");
        root = root || account.name == "root";
    }
    Require(root == list.rootExists, "root is seen");
}

// Whether no line is so long that it is read in pieces.
bool HasShortLines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        if (length > 1000) return false;
        text.remove_prefix(length);
    }
    return true;
}

[[maybe_unused]] void ftp(std::string_view text) {
    for (bool enable : {false, true}) {
        const std::string once = WithFtpTls(text, enable);
        Require(!HasShortLines(once) || WithFtpTls(once, enable) == once,
                "writing twice is writing once");
        Require(once.empty() || once.back() == '\n', "every line ends");
    }
    FtpTlsIn(text);
}

[[maybe_unused]] void ntp(std::string_view text) {
    const std::string once = FormatNtpConfig(ParseNtpConfig(text));
    Require(!HasShortLines(once) || FormatNtpConfig(ParseNtpConfig(once)) == once,
            "saving twice is saving once");
}

[[maybe_unused]] void mounts(std::string_view text) {
    std::string line;
    while (NextLine(text, 1024, line)) {
        const auto mounted = ParseMountLine(line);
        if (!mounted) continue;
        Require(mounted->device.starts_with("/dev/"), "a device is below /dev");
        Require(mounted->mount_point != "/", "the root stays");
    }
}

[[maybe_unused]] void utility(std::string_view text) {
    std::string copy(text);
    chomp(copy.data());
    const std::size_t length = std::strlen(copy.c_str());
    Require(length == 0 || (copy[length - 1] != '\n' && copy[length - 1] != '\r'), "chomped");
    for (char* rest = copy.data(); *rest != '\0';)
        rest = cut_line(rest);
    if (text.size() >= sizeof(std::int64_t)) {
        std::int64_t bytes = 0;
        std::memcpy(&bytes, text.data(), sizeof bytes);
        Require(format_size_string(bytes).empty() == (bytes < 0), "a size has a text");
    }
    skip_prefix(copy.c_str(), "Enable");
}

[[maybe_unused]] void display(std::string_view text) {
    for (wchar_t character : DisplayText(text)) {
        Require(character >= 0x20 && !(character >= 0x7f && character < 0xa0), "nothing drives");
    }
    for (int width : {-1, 0, 1, 2, 79}) {
        const std::wstring line = FitColumns(text, width);
        const int columns = wcswidth(line.c_str(), line.size());
        Require(columns == std::max(width, 0), "a line is as wide as asked");
    }
}

// Bytes as a session: what rows there are, how large the list is, which keys come.
[[maybe_unused]] void menu(std::string_view text) {
    constexpr int kKeys[] = {KEY_DOWN,   KEY_UP,    KEY_HOME, KEY_END,  KEY_NPAGE, KEY_PPAGE,
                             KEY_RESIZE, KEY_MOUSE, ERR,      '\n',     'a',       'b',
                             '1',        KEY_LEFT,  0x10000,  KEY_RIGHT};
    Menu list;
    list.Init();
    for (char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        switch (byte >> 5) {
            case 0:
                list.SetHotKey(list.AddItem("Row", byte), "ab1"[byte % 3]);
                break;
            case 1:
                list.AddSeparator();
                break;
            case 2:
                list.SetSize((byte & 31) - 4, (byte & 31) - 4);
                break;
            case 3:
                if (byte == 0x7f) list.Clear();
                list.clickPending = (byte & 3) - 1;
                break;
            default:
                list.HandleKey(kKeys[byte & 15]);
                Require(list.selection >= 0, "the selection is not negative");
                Require(list.top >= 0, "the top is not negative");
                Require(list.Count() == 0 || list.top < list.Count(), "the top is a row");
                break;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setlocale(LC_CTYPE, "C.UTF-8");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FUZZ_TARGET(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
