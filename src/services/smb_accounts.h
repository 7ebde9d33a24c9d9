// The accounts of the SMB/CIFS file server, as its own tool lists them. The server keeps them; the
// screens ask anew whenever something may have changed.
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
    bool root_exists = false;          // an account named "root" is among them
};

// The accounts in the output of "pdbedit --list --verbose": records of "Key: value" lines, ended by
// an empty line or one that begins with "-". "Unix username" gives the name; in "Account Flags" a D
// in the brackets means disabled, an N no password. Records without a name are dropped.
SmbAccountList ParseSmbAccounts(std::string_view listing);

// Runs that command; no accounts when it can't be started.
SmbAccountList ReadSmbAccounts();
