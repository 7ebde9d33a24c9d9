// The "System" screen: one row, back to the main menu.
#pragma once

void RunSystemScreen();
