#include <curses.h>
#include <unistd.h>

#include "app/console_info.h"
#include "app/main_menu.h"
#include "app/startup.h"

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (AsksForHelp(argv[i])) {
            PrintUsage();
            return 1;
        }
    }
    if (geteuid() != 0) {
        PrintRootRefusal();
        return 1;
    }
    PrepareProcess();
    PrepareSettingsFolder();
    ChooseTerminalType();
    StartTerminal();
    ProbeConsole(console_info);
    RunMainMenu();
    endwin();
    return 0;
}
