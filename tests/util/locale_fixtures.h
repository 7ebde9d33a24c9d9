// Locales for tests. LC_CTYPE determines the characters of a text; tests start in the C locale.
#pragma once

#include <clocale>
#include <cstdlib>

#include "util/utility_fixtures.h"

// Switches to the locale's characters while the object lives.
struct Characters {
    explicit Characters(const char* locale)
        : available(std::setlocale(LC_CTYPE, locale) != nullptr) {}
    ~Characters() { std::setlocale(LC_CTYPE, "C"); }
    Characters(const Characters&) = delete;
    Characters& operator=(const Characters&) = delete;

    bool available;
};

// The same with a character set other than UTF-8, compiled for the test, since few systems have one
// ready.
struct MadeCharacters {
    explicit MadeCharacters(const std::string& territory, const std::string& set) {
        const std::string name = territory + "." + set;
        const std::string command = "localedef -i " + territory + " -f " + set + " " +
                                    folder.Path(name) + " >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0) return;
        setenv("LOCPATH", folder.path.c_str(), 1);
        available = std::setlocale(LC_CTYPE, name.c_str()) != nullptr;
    }
    ~MadeCharacters() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
    }
    MadeCharacters(const MadeCharacters&) = delete;
    MadeCharacters& operator=(const MadeCharacters&) = delete;

    TemporaryFolder folder;
    bool available = false;
};

struct Latin1Characters : MadeCharacters {
    Latin1Characters() : MadeCharacters("en_US", "ISO-8859-1") {}
};
