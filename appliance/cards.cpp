// A preloaded library that answers for network cards that the kernel does not have.
//
//     APPLIANCE_CARDS=/path/of/the/description LD_PRELOAD=/path/of/libappliance_cards.so ifmenu
//
// The kernel can create a tap or a bridge, but not a wireless card. This library answers a
// program's ioctl requests for the interfaces in the description; all others go to the kernel. It
// reads the description at every request, so a card can change while the program runs. Each line is
// an answer; the first that matches is used:
//
//     wlan0 name IEEE 802.11               SIOCGIWNAME, up to 15 bytes
//     wlan0 essid studio                   SIOCGIWESSID, up to 64 bytes, without a trailing zero
//     wlan0 freq 2437 6                    SIOCGIWFREQ: mantissa and exponent
//     wlan0 ap 00:11:22:33:44:55           SIOCGIWAP
//     wlan0 link 1                         SIOCETHTOOL with ETHTOOL_GLINK: 0 or nonzero
//     wlan0 flags 0x1003                   SIOCGIFFLAGS
//     wlan0 addr 192.168.10.30             SIOCGIFADDR
//     wlan0 netmask 255.255.255.0          SIOCGIFNETMASK
//     wlan0 hwaddr 02:00:00:00:10:40       SIOCGIFHWADDR
//     wlan0 link fails                     the request fails with EOPNOTSUPP
//     wlan0 link fails 19                  ... with this error number
//     socket packet fails                  packet sockets cannot be created (EPERM)
//     socket inet fails                    datagram sockets cannot be created (EPERM)
//
// \xHH is any byte in a network's name, for names such as "fails" ("\x66ails"). Without a valid
// line, a description or APPLIANCE_CARDS the request goes to the kernel.
//
// This code neither allocates nor uses the C++ run-time: the library may be loaded before a
// sanitizer's.
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <linux/wireless.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr size_t kDescriptionBytes = 16384;
constexpr size_t kAddressBytes = 6;

// Both kinds of request start with the interface's name, followed by 16 bytes or more for the
// answer.
using Answer = bool (*)(void* request, const char* text);

void CopyText(char* to, size_t size, const char* text) {
    memset(to, 0, size);
    strncpy(to, text, size - 1);
}

bool ReadMac(const char* text, char* bytes) {
    for (size_t i = 0; i < kAddressBytes; i++) {
        char* end = nullptr;
        bytes[i] = static_cast<char>(strtoul(text, &end, 16));
        if (end == text || (i + 1 < kAddressBytes && *end != ':')) return false;
        text = end + 1;
    }
    return true;
}

bool AnswerName(void* request, const char* text) {
    iwreq* wireless = static_cast<iwreq*>(request);
    CopyText(wireless->u.name, sizeof wireless->u.name, text);
    return true;
}

bool AnswerEssid(void* request, const char* text) {
    iw_point& essid = static_cast<iwreq*>(request)->u.essid;
    char* bytes = static_cast<char*>(essid.pointer);
    unsigned short length = 0;
    while (*text != '\0' && length < essid.length) {
        if (strncmp(text, "\\x", 2) == 0) {
            const char digits[3] = {text[2], text[2] == '\0' ? '\0' : text[3], '\0'};
            bytes[length++] = static_cast<char>(strtoul(digits, nullptr, 16));
            text += 2 + strlen(digits);
        } else {
            bytes[length++] = *text++;
        }
    }
    essid.length = length;
    essid.flags = 1;
    return true;
}

bool AnswerFrequency(void* request, const char* text) {
    char* end = nullptr;
    iw_freq& frequency = static_cast<iwreq*>(request)->u.freq;
    frequency.m = static_cast<int>(strtol(text, &end, 10));
    frequency.e = static_cast<short>(strtol(end, nullptr, 10));
    return end != text;
}

bool AnswerAccessPoint(void* request, const char* text) {
    sockaddr& address = static_cast<iwreq*>(request)->u.ap_addr;
    return ReadMac(text, address.sa_data);
}

bool AnswerLink(void* request, const char* text) {
    void* value = static_cast<ifreq*>(request)->ifr_data;
    static_cast<ethtool_value*>(value)->data = static_cast<unsigned>(strtoul(text, nullptr, 0));
    return true;
}

bool AnswerFlags(void* request, const char* text) {
    static_cast<ifreq*>(request)->ifr_flags = static_cast<short>(strtol(text, nullptr, 0));
    return true;
}

// ifr_addr and ifr_netmask are the same field.
bool AnswerIPv4(void* request, const char* text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, text, &address.sin_addr) != 1) return false;
    memcpy(&static_cast<ifreq*>(request)->ifr_addr, &address, sizeof address);
    return true;
}

bool AnswerHardwareAddress(void* request, const char* text) {
    sockaddr& address = static_cast<ifreq*>(request)->ifr_hwaddr;
    constexpr unsigned short kEthernet = 1;
    address.sa_family = kEthernet;
    return ReadMac(text, address.sa_data);
}

struct Question {
    unsigned long request;
    const char* word;
    Answer answer;
};

constexpr Question kQuestions[] = {
    {SIOCGIWNAME, "name", AnswerName},
    {SIOCGIWESSID, "essid", AnswerEssid},
    {SIOCGIWFREQ, "freq", AnswerFrequency},
    {SIOCGIWAP, "ap", AnswerAccessPoint},
    {SIOCETHTOOL, "link", AnswerLink},
    {SIOCGIFFLAGS, "flags", AnswerFlags},
    {SIOCGIFADDR, "addr", AnswerIPv4},
    {SIOCGIFNETMASK, "netmask", AnswerIPv4},
    {SIOCGIFHWADDR, "hwaddr", AnswerHardwareAddress},
};

bool ReadDescription(char* text) {
    const char* path = getenv("APPLIANCE_CARDS");
    const int fd = path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    size_t have = 0;
    ssize_t got = 0;
    while ((got = read(fd, text + have, kDescriptionBytes - 1 - have)) > 0) {
        have += static_cast<size_t>(got);
    }
    close(fd);
    text[have] = '\0';
    return true;
}

// The text after "WORD " at the start of the line, or null.
const char* After(const char* line, const char* word) {
    const size_t length = strlen(word);
    if (strncmp(line, word, length) != 0) return nullptr;
    if (line[length] == '\0') return line + length;
    return line[length] == ' ' ? line + length + 1 : nullptr;
}

// The description's answer to a question to an interface, or null.
const char* FindText(char* description, const char* name, const char* word) {
    char* rest = nullptr;
    for (char* line = strtok_r(description, "\n", &rest); line != nullptr;
         line = strtok_r(nullptr, "\n", &rest)) {
        const char* question = After(line, name);
        const char* text = question == nullptr ? nullptr : After(question, word);
        if (text != nullptr) return text;
    }
    return nullptr;
}

// The error number if the text says that the request fails, otherwise 0.
int Failure(const char* text, int usual) {
    const char* number = After(text, "fails");
    if (number == nullptr) return 0;
    return *number == '\0' ? usual : atoi(number);
}

const Question* FindQuestion(unsigned long request, const void* record) {
    for (const Question& question : kQuestions) {
        if (question.request != request || record == nullptr) continue;
        if (request != SIOCETHTOOL) return &question;
        unsigned command = 0;
        memcpy(&command, static_cast<const ifreq*>(record)->ifr_data, sizeof command);
        return command == ETHTOOL_GLINK ? &question : nullptr;
    }
    return nullptr;
}

// Whether the description has an answer; *error is then 0 or an error number.
bool CardsAnswer(unsigned long request, void* record, int* error) {
    const Question* question = FindQuestion(request, record);
    char description[kDescriptionBytes];
    if (question == nullptr || !ReadDescription(description)) return false;
    char name[IFNAMSIZ + 1];
    memcpy(name, record, IFNAMSIZ);
    name[IFNAMSIZ] = '\0';
    const char* text = FindText(description, name, question->word);
    if (text == nullptr) return false;
    *error = Failure(text, EOPNOTSUPP);
    return *error != 0 || question->answer(record, text);
}

bool SocketFails(int family, int* error) {
    const char* word = family == AF_PACKET ? "packet" : family == AF_INET ? "inet" : nullptr;
    char description[kDescriptionBytes];
    if (word == nullptr || !ReadDescription(description)) return false;
    const char* text = FindText(description, "socket", word);
    *error = text == nullptr ? 0 : Failure(text, EPERM);
    return *error != 0;
}

}  // namespace

// Names and noexcept are as in the C library's declarations.
extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* record = va_arg(arguments, void*);
    va_end(arguments);
    const int before = errno;
    int error = 0;
    if (!CardsAnswer(request, record, &error)) {
        errno = before;
        return static_cast<int>(syscall(SYS_ioctl, fd, request, record));
    }
    errno = error == 0 ? before : error;
    return error == 0 ? 0 : -1;
}

extern "C" int socket(int family, int type, int protocol) noexcept {
    const int before = errno;
    int error = 0;
    if (!SocketFails(family, &error)) {
        errno = before;
        return static_cast<int>(syscall(SYS_socket, family, type, protocol));
    }
    errno = error;
    return -1;
}
