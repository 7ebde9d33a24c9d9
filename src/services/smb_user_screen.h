// One account of the SMB/CIFS file server: enable, disable, set the password, remove. Opened by the
// list of accounts.
#pragma once

#include "services/smb_accounts.h"

// True when a command was run for the account, false when the operator only looked.
bool RunSmbUserScreen(const SmbAccount& account);
