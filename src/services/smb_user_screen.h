// One account of the SMB/CIFS file server: enable, disable, set the password, remove. Opened from
// the list of accounts.
#pragma once

#include "services/smb_accounts.h"

// True if a command was run for the account, false if the operator only looked.
bool RunSmbUserScreen(const SmbAccount& account);
