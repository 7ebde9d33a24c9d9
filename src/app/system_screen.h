// The "System" screen: a single row, back to the main menu.
#pragma once

void RunSystemScreen();
