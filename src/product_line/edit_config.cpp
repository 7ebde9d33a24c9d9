#include "product_line/edit_config.h"

#include "net/interface_config.h"
#include "util/command.h"

int EditInterfaceConfigFile(std::string_view config_name) {
    return RunCommand("vi " + InterfaceConfigPath(config_name));
}
