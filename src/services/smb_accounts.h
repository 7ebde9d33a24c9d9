// The accounts of the SMB/CIFS file server, as listed by its own tool. The server stores them; the
// screens list them again whenever they may have changed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct SmbAccount {
    std::string name;
    bool disabled = false;
    bool no_password = false;
};

struct SmbAccountList {
    std::vector<SmbAccount> accounts;  // in the order reported
    bool root_exists = false;          // one of them is named "root"
};

// The accounts in the output of "pdbedit --list --verbose". A record consists of "Key: value" lines
// and ends at an empty line or one starting with "-". "Unix username" is the name; in "Account
// Flags" a D in the brackets means disabled, an N no password. Records without a name are dropped.
SmbAccountList ParseSmbAccounts(std::string_view listing);

// Runs that command; no accounts if it can't be started.
SmbAccountList ReadSmbAccounts();
