// The file server's listing of accounts: records, names, flags.
#include "services/smb_accounts.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>

namespace {

using namespace std::string_literals;

// One word per account: its name, then D for disabled and N for no password.
std::string Summary(std::string_view listing) {
    const SmbAccountList list = ParseSmbAccounts(listing);
    std::ostringstream text;
    for (const SmbAccount& account : list.accounts) {
        text << (text.str().empty() ? "" : " ") << account.name << ":"
             << (account.disabled ? "D" : "") << (account.no_password ? "N" : "");
    }
    return text.str() + (list.root_exists ? " +root" : "");
}

std::string Record(const std::string& name, const std::string& flags) {
    return "---------------\nUnix username:        " + name +
           "\nNT username:          \nAccount Flags:        " + flags + "\n";
}

// Printed by Debian's pdbedit 4.17 for three accounts: disabled without a password, with a
// password, disabled with a password.
constexpr const char* kListing = R"(---------------
Unix username:        root
NT username:          
Account Flags:        [NDU        ]
User SID:             S-1-5-21-3000251854-889992394-814271513-1000
Primary Group SID:    S-1-5-21-3000251854-889992394-814271513-513
Full Name:            root
Home Directory:       \\APPLIANCE\root
HomeDir Drive:        
Logon Script:         
Profile Path:         \\APPLIANCE\root\profile
Domain:               APPLIANCE
Account desc:         
Workstations:         
Munged dial:          
Logon time:           0
Logoff time:          Wed, 06 Feb 2036 15:06:39 UTC
Kickoff time:         Wed, 06 Feb 2036 15:06:39 UTC
Password last set:    0
Password can change:  0
Password must change: 0
Last bad password   : 0
Bad password count  : 0
Logon hours         : FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF
---------------
Unix username:        alice
NT username:          
Account Flags:        [U          ]
User SID:             S-1-5-21-3000251854-889992394-814271513-1001
Primary Group SID:    S-1-5-21-3000251854-889992394-814271513-513
Full Name:            
Home Directory:       \\APPLIANCE\alice
---------------
Unix username:        bob
NT username:          
Account Flags:        [DU         ]
User SID:             S-1-5-21-3000251854-889992394-814271513-1002
Primary Group SID:    S-1-5-21-3000251854-889992394-814271513-513
)";

TEST(ParseSmbAccounts, UnderstandsTheRealTool) {
    EXPECT_EQ(Summary(kListing), "root:DN alice: bob:D +root");
}

TEST(ParseSmbAccounts, AnEmptyListingHasNoAccounts) {
    for (const char* listing : {"", "\n", "\n\n\n", "---------------\n", "---\n---\n", "-"})
        EXPECT_EQ(Summary(listing), "") << listing;
}

TEST(ParseSmbAccounts, EachFlagCountsOnItsOwn) {
    EXPECT_EQ(Summary(Record("a", "[U          ]") + Record("b", "[DU         ]") +
                      Record("c", "[NU         ]") + Record("d", "[NDU        ]") +
                      Record("e", "[UWDXN]") + Record("f", "[]")),
              "a: b:D c:N d:DN e:DN f:");
}

TEST(ParseSmbAccounts, OnlyTheFirstBracketsHoldFlags) {
    EXPECT_EQ(
        Summary(Record("a", "DN [U] DN") + Record("b", "[U][DN]") + Record("c", "DN") +
                Record("d", "") + Record("e", "]D[N") + Record("f", "[D") + Record("g", "[[N]")),
        "a: b: c: d: e:N f:D g:N");
}

TEST(ParseSmbAccounts, FlagsAreCapitals) {
    EXPECT_EQ(Summary(Record("a", "[dn]")), "a:");
}

TEST(ParseSmbAccounts, FlagsAddUpOnlyWithinARecord) {
    EXPECT_EQ(Summary("Account Flags: [D]\nUnix username: a\nAccount Flags: [N]\n"
                      "Account Flags: [U]\n\nUnix username: b\n"),
              "a:DN b:");
}

TEST(ParseSmbAccounts, ARecordEndsAtAnEmptyLineOrADash) {
    EXPECT_EQ(Summary("Unix username: a\n\nUnix username: b\n-\nUnix username: c\n-x: y\n"
                      "Unix username: d"),
              "a: b: c: d:");
    EXPECT_EQ(Summary("Unix username: a\r\n\r\nUnix username: b\r\n"), "a: b:");
}

TEST(ParseSmbAccounts, ALineWithABlankDoesNotEndARecord) {
    EXPECT_EQ(Summary("Unix username: a\n -----\nAccount Flags: [D]\n"), "a:D");
    EXPECT_EQ(Summary("Unix username: a\n \nAccount Flags: [D]\n"), "a:D");
}

TEST(ParseSmbAccounts, ARecordWithoutANameIsDropped) {
    EXPECT_EQ(Summary("Account Flags: [D]\n\nUnix username:\n\nUnix username:    \n\n"
                      "Unix username: a\n"),
              "a:");
}

TEST(ParseSmbAccounts, TheLastNameOfARecordWins) {
    EXPECT_EQ(Summary("Unix username: a\nUnix username: b\n"), "b:");
}

TEST(ParseSmbAccounts, KeysMustMatchExactly) {
    // Blanks before a key are skipped, a tab is not; a blank after a key is part of it.
    EXPECT_EQ(Summary("   Unix username: a\n   Account Flags: [D]\n"), "a:D");
    for (const char* line :
         {"\tUnix username: a\n", "Unix username : a\n", "unix username: a\n", "Unix Username: a\n",
          "UNIX USERNAME: a\n", "Unix username a\n", "NT username: a\n", ": a\n", "a\n"}) {
        EXPECT_EQ(Summary(line), "") << line;
    }
    EXPECT_EQ(Summary("Unix username: a\nAccount flags: [D]\nAccount Flags : [N]\n"), "a:");
}

TEST(ParseSmbAccounts, TheNameIsEverythingAfterTheFirstColonAndBlanks) {
    EXPECT_EQ(Summary("Unix username:a\n\nUnix username:   a:b\n\nUnix username: a b\n"),
              "a: a:b: a b:");
    EXPECT_EQ(ParseSmbAccounts("Unix username: a \n").accounts.at(0).name, "a ");
}

TEST(ParseSmbAccounts, RootIsOneOfTheAccounts) {
    EXPECT_EQ(Summary(Record("a", "[U]") + Record("root", "[DU]") + Record("b", "[U]")),
              "a: root:D b: +root");
    for (const char* name : {"Root", "root2", "toor", "root "})
        EXPECT_FALSE(ParseSmbAccounts(Record(name, "[U]")).root_exists) << name;
}

TEST(ParseSmbAccounts, KeepsTheOrderReported) {
    EXPECT_EQ(Summary(Record("z", "[U]") + Record("a", "[U]") + Record("m", "[U]")), "z: a: m:");
}

TEST(ParseSmbAccounts, ALongLineIsSplit) {
    const std::string start = "Full Name: ";
    const std::string filler(1023 - start.size(), 'x');
    EXPECT_EQ(Summary("Unix username: a\n" + start + filler + "\nAccount Flags: [D]\n"),
              "a:");  // the line feed did not fit and makes an empty line
}

TEST(ParseSmbAccounts, AnyBytesAreHarmless) {
    std::string noise;
    for (unsigned i = 0; i < 20000; i++)
        noise += static_cast<char>((i * i * 2654435761U) >> 13);
    ParseSmbAccounts(noise);
    ParseSmbAccounts("Account Flags: [\n[\n]\n:\n[:]\n\0:\n"s);
    EXPECT_EQ(Summary("Unix username: a\0b\n"s), "a:");
}

}  // namespace
