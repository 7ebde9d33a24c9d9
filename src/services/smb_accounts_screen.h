// The accounts of the SMB/CIFS file server: the operator creates accounts and opens existing ones.
// Opened from the services screen.
#pragma once

void RunSmbAccountsScreen();
