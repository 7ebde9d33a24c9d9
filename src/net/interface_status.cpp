// Understanding and wording; interface_probe.cpp does the queries.
#include "net/interface_status.h"

#include <arpa/inet.h>
#include <strings.h>

#include <cmath>
#include <cstdio>

#include "util/lines.h"

namespace {

constexpr std::size_t kAddressLineSize = 256;
constexpr std::int32_t kHighestChannel = 999;

std::string Dotted(in_addr address) {
    char text[128] = "";
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

std::string FrequencyText(std::int32_t mantissa, std::int16_t exponent) {
    char text[512];
    if (mantissa > kHighestChannel || exponent != 0) {
        const double hertz = mantissa * std::pow(10.0, exponent);
        std::snprintf(text, sizeof text, "@%.3fGHz ", hertz / 1e9);
    } else {
        std::snprintf(text, sizeof text, "Channel %u", static_cast<unsigned>(mantissa));
    }
    return text;
}

const char* BlockWords(bool hard, bool soft) {
    if (hard) return soft ? "H/W S/W " : "H/W ";
    return soft ? "S/W " : "off ";
}

std::string RfkillText(const InterfaceStatus& status) {
    const std::string enabled = status.rfkill_state != 0 ? "Yes" : "No";
    return "Enabled: " + enabled +
           ", RF-Kill: " + BlockWords(status.rfkill_hard >= 1, status.rfkill_soft >= 1) + " ";
}

std::string IPv4Row(const InterfaceStatus& status) {
    std::string row = "   IPv4: " + Dotted(status.ipv4) + "   netmask: " + Dotted(status.netmask);
    if (status.gateway.s_addr != 0) row += "  gateway: " + Dotted(status.gateway);
    return row;
}

std::string WirelessRow(const InterfaceStatus& status) {
    std::string row = "   Wireless: ";
    if (status.essid) row += "'" + *status.essid + "' ";
    if (status.frequency_mantissa && status.frequency_exponent) {
        row += FrequencyText(*status.frequency_mantissa, *status.frequency_exponent);
    }
    if (status.access_point) row += "A/P " + FormatHardwareAddress(*status.access_point) + " ";
    if (status.has_rfkill && status.rfkill_state >= 0) row += RfkillText(status);
    return row;
}

}  // namespace

void UnderstandInterface(const InterfaceFacts& facts, std::uint32_t gateway,
                         InterfaceStatus& status) {
    if (facts.packet_socket) {
        if (facts.link) status.link = *facts.link ? "Link active" : "Disconnected";
        status.up = facts.up.value_or(false) ? "Interface up" : "";
    }
    if (facts.inet_socket) {
        status.has_ipv4 = facts.address_family != 0;
        status.ipv4 = facts.ipv4;
        status.netmask = facts.netmask;
        status.gateway.s_addr = gateway;
    }
    if (facts.addresses_asked) status.ipv6 = LastGlobalIPv6(facts.global_addresses);
    status.is_wireless = facts.is_wireless;
    status.essid = facts.essid;
    status.frequency_mantissa = facts.frequency_mantissa;
    status.frequency_exponent = facts.frequency_exponent;
    status.access_point = facts.access_point;
    status.has_rfkill = facts.has_rfkill;
    status.rfkill_state = facts.rfkill_state;
    status.rfkill_hard = facts.rfkill_hard;
    status.rfkill_soft = facts.rfkill_soft;
}

std::vector<std::string> FormatInterfaceStatus(const InterfaceStatus& status) {
    std::vector<std::string> rows;
    if (status.has_ipv4) rows.push_back(IPv4Row(status));
    if (!status.ipv6.empty()) rows.push_back("   IPv6: " + status.ipv6);
    if (status.is_wireless) rows.push_back(WirelessRow(status));
    return rows;
}

std::string FormatHardwareAddress(const HardwareAddress& address) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", address[0], address[1],
                  address[2], address[3], address[4], address[5]);
    return text;
}

std::string LastGlobalIPv6(std::string_view ip_addr_output) {
    constexpr std::string_view kWord = "inet6 ";
    std::string last;
    std::string line;
    while (NextLine(ip_addr_output, kAddressLineSize, line)) {
        const std::size_t start = line.find_first_not_of(' ');
        if (start == std::string::npos) continue;
        if (strncasecmp(line.c_str() + start, kWord.data(), kWord.size()) != 0) continue;
        const std::size_t address = line.find_first_not_of(' ', start + kWord.size());
        if (address == std::string::npos) continue;
        last = line.substr(address, line.find_first_of(" \r\n", address) - address);
    }
    return last;
}
