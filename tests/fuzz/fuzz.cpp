// Fuzz targets for every reader of outside text, for the quoting and display of such text, and for
// the menu engine. Each target takes any bytes, checks properties that must always hold, and aborts
// if one does not. The name of the program selects the target, e.g. fuzz_routes.
//
//     tools/fuzz NAME SECONDS
#include "fuzz.h"

#include <fcntl.h>
#include <sanitizer/lsan_interface.h>
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "net/interface_config.h"
#include "net/interface_list.h"
#include "net/interface_status.h"
#include "net/route_table.h"
#include "product_line/unmount.h"
#include "product_line/utility.h"
#include "services/ftp_tls.h"
#include "services/smb_accounts.h"
#include "system/ntp_config.h"
#include "ui/text.h"
#include "util/command.h"
#include "util/lines.h"
#include "util/message.h"
#include "wifi/supplicant.h"

void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

namespace {

// Every reader has a maximum line length and splits longer lines. It is at least this, with the
// line end.
constexpr std::size_t kPlainLine = 1000;

// The lines of a text, without line ends.
std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string line(text.substr(0, end));
        line.resize(std::min(line.find('\0'), line.size()));
        while (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

bool HasPlainLines(std::string_view text) {
    const auto lines = LinesOf(text);
    return text.find('\0') == std::string_view::npos &&
           std::all_of(lines.begin(), lines.end(),
                       [](const std::string& line) { return line.size() < kPlainLine; });
}

void Settings(std::string_view text) {
    InterfaceConfig first;
    SetConfigDefaults(first);
    ParseInterfaceConfig(text, first);
    const std::string written = FormatInterfaceConfig(first);
    InterfaceConfig second;
    SetConfigDefaults(second);
    ParseInterfaceConfig(written, second);
    Require(!HasPlainLines(written) || FormatInterfaceConfig(second) == written,
            "what was written reads the same");
    Require(std::count(written.begin(), written.end(), '\n') == 14, "fourteen lines are written");
}

void Routes(std::string_view text) {
    const RouteTable routes = ParseRouteTable(text);
    Require(!HasMultipleGateways(routes) || routes.size() > 1,
            "several gateways are several routes");
    for (const RouteEntry& route : routes) {
        Require(!route.iface.empty(), "a route has an interface");
        Require(route.iface.find_first_of(" \t\n") == std::string::npos, "a name is one word");
        const std::uint32_t gateway = FindGateway(routes, route.iface);
        const bool is_own = std::any_of(routes.begin(), routes.end(), [&](const RouteEntry& each) {
            return each.iface == route.iface && each.gateway == gateway && (each.flags & 2) != 0;
        });
        Require(gateway == 0 || is_own, "a gateway belongs to its interface");
        Require(is_own || (route.flags & 2) == 0, "a gateway is found");
    }
}

void Interfaces(std::string_view text) {
    for (const std::string& name : ParseInterfaceList(text)) {
        Require(!name.empty() && name.size() <= 127, "a name has 1 to 127 bytes");
        Require(name.find_first_of(": \t\n") == std::string::npos, "a name is one word");
        Require(strcasecmp(name.c_str(), "lo") != 0, "lo is left out");
        Require(!HasPlainLines(text) || text.find(name) != std::string_view::npos,
                "a name is in the text");
    }
}

void Addresses(std::string_view text) {
    const std::string address = LastGlobalIPv6(text);
    Require(address.size() <= 255, "an address fits its line");
    Require(address.find_first_of(" \r\n") == std::string::npos, "an address is one word");
    Require(text.find(address) != std::string_view::npos, "an address is in the text");
}

void CheckNetworks(const AccessPointMap& map) {
    for (const auto& [key, network] : map) {
        Require(!network.bssid.empty(), "a network has a BSSID");
        Require(key.first == network.ssid && key.second == network.bssid,
                "the key matches the network");
        Require(network.ssid.find_first_of("\t\n") == std::string::npos,
                "a column holds no separator");
    }
}

void Networks(std::string_view text) {
    AccessPointMap map;
    ParseConfiguredNetworks(text, map);
    CheckNetworks(map);
    for (const auto& [key, network] : map)
        Require(!network.is_new, "a configured network is not new");
}

void Scan(std::string_view text) {
    AccessPointMap map;
    ParseConfiguredNetworks(text, map);
    const AccessPointMap configured = map;
    ParseScanResults(text, map);
    CheckNetworks(map);
    for (const auto& [key, network] : configured) {
        Require(map.at(key).network_id == network.network_id, "a configured network stays");
    }
    for (const auto& [key, network] : map) {
        Require(network.is_new != configured.contains(key), "a network is new unless configured");
        Require(!network.is_new || network.network_id == -1, "a new network has no number");
    }
}

void Accounts(std::string_view text) {
    const SmbAccountList list = ParseSmbAccounts(text);
    bool root = false;
    for (const SmbAccount& account : list.accounts) {
        Require(!account.name.empty(), "an account has a name");
        Require(account.name.find('\n') == std::string::npos, "a name is in one line");
        root = root || account.name == "root";
    }
    Require(root == list.root_exists, "root is recognised");
}

bool IsFtpTlsLine(std::string line) {
    line.erase(0, line.find_first_not_of(" \t"));
    return line.starts_with("ssl_enable=") || line.starts_with("ssl_enable =");
}

void Ftp(std::string_view text) {
    FtpTlsIn(text);
    if (!HasPlainLines(text)) return;
    const auto before = LinesOf(text);
    for (bool enable : {false, true}) {
        const std::string once = WithFtpTls(text, enable);
        Require(WithFtpTls(once, enable) == once, "writing twice gives the same text");
        const auto after = LinesOf(once);
        Require(after.size() == before.size(), "the number of lines stays the same");
        for (std::size_t line = 0; line < before.size(); ++line) {
            Require(IsFtpTlsLine(before[line])
                        ? after[line] == (enable ? "ssl_enable=YES" : "ssl_enable=NO")
                        : after[line] == before[line],
                    "only the setting's lines change");
        }
    }
}

void Ntp(std::string_view text) {
    const NtpConfig config = ParseNtpConfig(text);
    const std::string once = FormatNtpConfig(config);
    if (!HasPlainLines(text)) return;
    Require(FormatNtpConfig(ParseNtpConfig(once)) == once, "saving twice gives the same text");
    std::vector<std::string> others = LinesOf(text);
    std::erase_if(others, [](const std::string& line) {
        return line.starts_with("server ") || line.starts_with("server\t");
    });
    Require(config.other_lines == others, "the other lines are unchanged");
}

void Mounts(std::string_view text) {
    std::string line;
    while (NextLine(text, 1024, line)) {
        const auto mounted = ParseMountLine(line);
        if (!mounted) continue;
        Require(mounted->device.starts_with("/dev/"), "a device is below /dev");
        Require(mounted->mount_point != "/", "the root is never unmounted");
        for (const auto* field : {&mounted->device, &mounted->mount_point, &mounted->type})
            Require(field->find(' ') == std::string::npos, "a field is one word");
    }
}

void CheckLineEnds(const std::string& text) {
    std::string expected(text.c_str());
    expected.resize(expected.find_last_not_of("\r\n") + 1);
    std::string cut = text;
    chomp(cut.data());
    Require(expected == cut.c_str(), "only line ends are cut");
    std::string walked = text;
    std::string joined;
    for (char* rest = walked.data(); *rest != '\0';) {
        const char* line = rest;
        rest = cut_line(rest);
        joined += line;
        if (rest != line + std::strlen(line)) joined += '\n';
    }
    Require(joined == text.c_str(), "every line is visited");
}

void CheckSize(std::int64_t bytes) {
    const std::string size = format_size_string(bytes);
    Require(size.size() < kSizeTextBytes, "a size fits its buffer");
    Require(size.empty() == (bytes < 0), "only a negative size has no text");
    if (bytes < 0) return;
    // The size is truncated, so it never shows more than there is.
    const double shown = std::strtod(size.c_str(), nullptr);
    double unit = 1;
    for (const char* name : {"KB", "MB", "GB", "TB", "PB"}) {
        unit *= 1000;
        if (!size.ends_with(name)) continue;
        const double exact = static_cast<double>(bytes) / unit;
        Require(shown <= exact * 1.000001 && shown > exact - 0.00101,
                "a size is the truncated count");
    }
    Require(!size.ends_with(" bytes") || shown == static_cast<double>(bytes), "bytes are exact");
}

void CheckSmallFile(const std::string& text) {
    static const int file = memfd_create("small", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    Require(write_small_file(path.c_str(), text.c_str()) == 0, "a file is written");
    char buffer[64];
    Require(read_small_file(path.c_str(), buffer, sizeof buffer) == 0, "a file is read");
    Require(std::string(text.c_str()).substr(0, sizeof buffer - 1) == buffer,
            "a file is read as written");
    std::string line = std::string(text.c_str()).substr(0, 1023);
    line.resize(line.find_last_not_of("\r\n") + 1);
    Require(read_file_line(path.c_str()) == line, "read_file_line cuts only the line end");
}

void CheckPrefix(const std::string& text) {
    const std::size_t middle = std::strlen(text.c_str()) / 2;
    const std::string prefix = text.substr(0, middle);
    Require(skip_prefix(text.c_str(), prefix.c_str()) == text.c_str() + middle,
            "a text's start is its prefix");
    const char* behind = skip_prefix(text.c_str(), "Enable");
    Require(behind == nullptr || behind == text.c_str() + 6, "a text continues after its prefix");
}

void CheckColumns(std::string_view text) {
    for (const auto columns : {Columns::ByTabs, Columns::ByBlanks}) {
        const auto found = SplitColumns(text, columns, 8);
        Require(found.size() <= 8, "no more columns than asked for");
        Require(found.empty() == text.empty(), "only an empty text has no columns");
        for (std::size_t i = 0; i < found.size(); ++i) {
            Require(found[i].find('\t') == std::string_view::npos, "no column contains a tab");
            const bool by_blanks = columns == Columns::ByBlanks;
            Require(!by_blanks || found[i].find(' ') == std::string_view::npos,
                    "no column contains a blank");
            Require(!by_blanks || i == 0 || !found[i].empty(),
                    "only the first column can be empty");
        }
    }
}

void CheckTrim(const std::string& text) {
    constexpr std::string_view kSpaces = "\t\n\r ";
    std::string expected(text.c_str());
    expected.resize(expected.find_last_not_of(kSpaces) + 1);
    expected.erase(0, std::min(expected.find_first_not_of(kSpaces), expected.size()));
    std::string copy = text;
    Require(expected == trim_space(copy.data()), "white space is trimmed at both ends");
    copy = text;
    strip_leading_space(copy.data());
    trim_trailing_space(copy.data());
    Require(expected == copy.c_str(), "both ways of trimming agree");
}

void Utility(std::string_view text) {
    const std::string copy(text);
    CheckLineEnds(copy);
    CheckSmallFile(copy);
    CheckPrefix(copy);
    CheckTrim(copy);
    CheckColumns(text);
    std::int64_t bytes = 0;
    std::memcpy(&bytes, text.data(), std::min(text.size(), sizeof bytes));
    CheckSize(bytes);
}

// The word that the shell makes of a text; nothing if the text is not exactly one word. Blanks end
// the word. Outside single quotes only characters without a meaning to any shell are accepted.
bool IsOneWord(std::string_view quoted, std::string& word) {
    constexpr std::string_view kPlain = "%+,-./:=@_";
    word.clear();
    bool inside = false;
    for (std::size_t at = 0; at < quoted.size(); ++at) {
        const char c = quoted[at];
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || kPlain.find(c) != std::string_view::npos;
        if (c == '\'') {
            inside = !inside;
        } else if (!inside && c == '\\' && at + 1 < quoted.size()) {
            word += quoted[++at];
        } else if (inside || plain) {
            word += c;
        } else {
            return false;
        }
    }
    return !inside && !quoted.empty();
}

void Words(std::string_view text) {
    std::string word;
    Require(IsOneWord(QuotedWord(text), word) && word == text, "a quoted text is one word");
    Require(IsOneWord(ShellWord(text), word) && word == text, "a name is one word");
    Require(!IsQuotable(text) || IsOneWord("'\"" + std::string(text) + "\"'", word),
            "a text to be quoted leaves no quotes");
}

// The locales in which texts are shown, created by tools/fuzz next to the program. The first is
// UTF-8.
constexpr const char* kLocales[] = {"C.UTF-8", "en_US.ISO-8859-1", "ru_RU.KOI8-R", "zh_CN.GB18030"};

// The best-known characters that hide or reorder text.
bool IsHidden(wchar_t character) {
    constexpr wchar_t kHidden[][2] = {
        {0xad, 0xad},     {0x61c, 0x61c},   {0x115f, 0x1160},   {0x180e, 0x180e},  {0x200b, 0x200f},
        {0x2028, 0x202e}, {0x2060, 0x206f}, {0x3164, 0x3164},   {0xfe00, 0xfe0f},  {0xfeff, 0xfeff},
        {0xffa0, 0xffa0}, {0xfff9, 0xfffb}, {0x1d173, 0x1d17a}, {0xe0000, 0xe0fff}};
    return std::any_of(std::begin(kHidden), std::end(kHidden), [&](const auto& range) {
        return character >= range[0] && character <= range[1];
    });
}

bool IsControl(wchar_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

void DisplayHere(std::string_view text, bool is_utf8) {
    for (wchar_t character : DisplayText(text)) {
        Require(!IsControl(character), "no control character is shown");
        Require(!IsHidden(character), "no character that hides or reorders text is shown");
    }
    const std::string printable = PrintableText(text);
    Require(PrintableText(printable) == printable, "showing a shown text changes nothing");
    for (char c : printable) {
        const auto byte = static_cast<unsigned char>(c);
        Require(is_utf8 || byte < 0x80 || byte > 0x9f, "no byte is a control to any terminal");
    }
    for (std::size_t most : {0U, 1U, 4U}) {
        const std::string_view whole = WholeCharacters(text, most);
        Require(whole.size() <= most && text.starts_with(whole),
                "a cut text is the beginning of the text");
    }
    for (int width : {-1, 0, 1, 2, 79}) {
        const std::wstring line = FitColumns(text, width);
        const int columns = wcswidth(line.c_str(), line.size());
        Require(columns == std::max(width, 0), "a line is as wide as asked");
    }
}

void Display(std::string_view text) {
    static const std::vector<locale_t> locales = [] {
        // The C library never frees what it has loaded for a locale.
        const __lsan::ScopedDisabler no_leaks;
        std::vector<locale_t> made;
        for (const char* name : kLocales) {
            made.push_back(newlocale(LC_CTYPE_MASK, name, nullptr));
            Require(made.back() != nullptr, "tools/fuzz has created the locales");
        }
        return made;
    }();
    for (locale_t locale : locales) {
        const locale_t before = uselocale(locale);
        DisplayHere(text, locale == locales.front());
        uselocale(before);
    }
}

// The kernel's answers: the first bytes are numbers, the rest is a network name.
void Status(std::string_view text) {
    InterfaceFacts facts;
    facts.packet_socket = facts.inet_socket = facts.is_wireless = facts.has_rfkill = true;
    struct {
        std::int32_t mantissa;
        std::int16_t exponent;
        std::uint16_t family;
        in_addr ipv4, netmask;
        std::uint8_t state, hard, soft;
    } numbers = {};
    const std::size_t taken = std::min(text.size(), sizeof numbers);
    std::memcpy(&numbers, text.data(), taken);
    facts.frequency_mantissa = numbers.mantissa;
    facts.frequency_exponent = numbers.exponent;
    facts.address_family = numbers.family;
    facts.ipv4 = numbers.ipv4;
    facts.netmask = numbers.netmask;
    facts.rfkill_state = numbers.state - 1;
    facts.rfkill_hard = numbers.hard - 1;
    facts.rfkill_soft = numbers.soft - 1;
    facts.essid = text.substr(taken);
    facts.global_addresses = text.substr(taken);
    InterfaceStatus status;
    UnderstandInterface(facts, numbers.ipv4.s_addr, status);
    const auto rows = FormatInterfaceStatus(status);
    Require(!rows.empty() && rows.size() <= 3, "one row, two or three");
    for (const std::string& row : rows)
        Require(row.starts_with("   "), "a row is indented");
    Require(rows.back().starts_with("   Wireless: '" + *facts.essid + "' "), "a name is shown");
}

struct Target {
    const char* name;
    void (*take)(std::string_view bytes);
};

constexpr Target kTargets[] = {
    {"accounts", Accounts},
    {"addresses", Addresses},
    {"display", Display},
    {"ftp", Ftp},
    {"interfaces", Interfaces},
    {"menu", FuzzMenu},
    {"mounts", Mounts},
    {"networks", Networks},
    {"ntp", Ntp},
    {"routes", Routes},
    {"scan", Scan},
    {"settings", Settings},
    {"status", Status},
    {"utility", Utility},
    {"words", Words},
};

const Target* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** arguments) {
    const std::string_view program = **arguments;
    for (const Target& target : kTargets) {
        if (program.ends_with(std::string("fuzz_") + target.name)) chosen = &target;
    }
    Require(chosen != nullptr, "the program's name is fuzz_NAME");
    const std::string folder(program.substr(0, program.rfind('/') + 1));
    setenv("LOCPATH", (folder + "locale").c_str(), 1);
    setlocale(LC_CTYPE, "C.UTF-8");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    chosen->take(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
