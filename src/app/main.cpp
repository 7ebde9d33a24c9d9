#include <curses.h>
#include <unistd.h>

#include "app/main_menu.h"
#include "app/startup.h"
#include "product_line/console_info.h"

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
    ProbeConsole();
    RunMainMenu();
    endwin();
    return 0;
}
