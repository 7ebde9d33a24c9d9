// The accounts of the SMB/CIFS file server: the operator makes new ones and opens the others.
// Opened by the services screen.
#pragma once

void RunSmbAccountsScreen();
