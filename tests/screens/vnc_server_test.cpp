// Whom the real VNC server admits with the password file that the program creates: only users of
// the typed password, not of an empty or another one.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <sstream>

#include "services_fixtures.h"

namespace services {
namespace {

constexpr const char* kSocket = "/mnt/seen/vnc";

// The server and the cipher use opposite bit orders.
unsigned Reversed(unsigned byte) {
    unsigned reversed = 0;
    for (int bit = 0; bit < 8; bit++)
        reversed |= (byte >> bit & 1U) << (7 - bit);
    return reversed;
}

std::string HexOf(const std::string& bytes, bool reversed) {
    std::string hex;
    for (char c : bytes) {
        const unsigned byte = static_cast<unsigned char>(c);
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", reversed ? Reversed(byte) : byte);
        hex += digits;
    }
    return hex;
}

// A connection to the server, up to its reply to a password.
class Visitor {
  public:
    explicit Visitor(Machine& box) : box_(box), socket_(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s",
                      box.OutsidePath(kSocket).c_str());
        const timeval patience = {.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~Visitor() { close(socket_); }
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    bool IsAdmittedWith(std::string password) {
        EXPECT_EQ(Take(12), "RFB 003.008\n");
        Give("RFB 003.008\n");
        EXPECT_EQ(Take(2), "\1\2") << "the password must be the only way in";
        Give("\2");
        const std::string challenge = Take(16);
        password.resize(8, '\0');
        Give(Encrypted(challenge, HexOf(password, true)));
        return Take(4) == std::string(4, '\0');
    }

  private:
    std::string Take(size_t count) {
        std::string bytes(count, '\0');
        const ssize_t got = recv(socket_, bytes.data(), count, MSG_WAITALL);
        EXPECT_EQ(got, static_cast<ssize_t>(count));
        return bytes;
    }
    void Give(const std::string& bytes) {
        EXPECT_EQ(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    // The cipher is so old that OpenSSL has moved it to a separate module.
    std::string Encrypted(const std::string& challenge, const std::string& key) {
        std::string octal;
        for (char c : challenge) {
            char digits[5];
            std::snprintf(digits, sizeof digits, "\\%03o",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            octal += digits;
        }
        std::istringstream numbers(
            box_.Sh("printf '" + octal +
                    "' | openssl enc -des-ecb -nopad -provider legacy -provider default -K " + key +
                    " | od -An -v -tu1"));
        std::string bytes;
        for (int number = 0; numbers >> number;)
            bytes += static_cast<char>(number);
        return bytes;
    }

    Machine& box_;
    int socket_;
};

bool IsAdmittedWith(Machine& box, const std::string& password) {
    return Visitor(box).IsAdmittedWith(password);
}

void StartServer(Machine& box) {
    box.Sh(std::string("setsid Xtigervnc :7 -nolisten tcp -SecurityTypes VncAuth -PasswordFile ") +
           kVncPassword + " -rfbunixpath " + kSocket + " </dev/null >/mnt/seen/server 2>&1 &");
    box.WaitUntil([&] { return box.Exists(kSocket); }, "the VNC server");
}

TEST(VncRealServer, AdmitsOnlyTheTypedPassword) {
    ServicesBox box;
    if (box.Sh("command -v Xtigervnc || true").empty())
        GTEST_SKIP() << "no VNC server on this system (tigervnc-standalone-server)";
    box.Make(kVnc);
    ServicesScreen t(box);
    t.Go("v<Enter>", "Set VNC password");
    t.Go("hello123<Enter>", "Disable remote VNC access to local desktop");
    StartServer(box);
    EXPECT_TRUE(IsAdmittedWith(box, "hello123"));
    EXPECT_FALSE(IsAdmittedWith(box, ""));
    EXPECT_FALSE(IsAdmittedWith(box, "hello124"));
    // The next password applies to the next connection.
    t.Go("<Down><Enter>", "Change VNC password.");
    t.Press("better<Enter>");
    t.WaitForGone("Change VNC password.");
    t.Go("", kServices.sign);
    EXPECT_TRUE(IsAdmittedWith(box, "better"));
    EXPECT_FALSE(IsAdmittedWith(box, "hello123"));
    EXPECT_FALSE(IsAdmittedWith(box, ""));
}

}  // namespace
}  // namespace services
