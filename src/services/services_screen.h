// The services of the appliance: the operator enables, disables, starts and stops them, and opens
// the file server's accounts. Opened from the main menu.
#pragma once

void RunServicesScreen();
