// The services of the appliance: the operator enables, disables, starts and stops them, and goes to
// the file server's accounts. Opened by the main menu.
#pragma once

void RunServicesScreen();
