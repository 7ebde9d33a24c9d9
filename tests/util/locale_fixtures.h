// Locales for tests. A text's characters depend on LC_CTYPE; everything starts in the C locale.
#pragma once

#include <clocale>
#include <cstdlib>

#include "util/utility_fixtures.h"

// The locale's characters, as long as the object lives.
struct Characters {
    explicit Characters(const char* locale)
        : available(std::setlocale(LC_CTYPE, locale) != nullptr) {}
    ~Characters() { std::setlocale(LC_CTYPE, "C"); }
    Characters(const Characters&) = delete;
    Characters& operator=(const Characters&) = delete;

    bool available;
};

// The same with ISO-8859-1, made for the occasion, as few systems have it ready.
struct Latin1Characters {
    Latin1Characters() {
        const std::string locale = folder.Path(kName);
        const std::string command =
            std::string("localedef -i en_US -f ISO-8859-1 ") + locale + " >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0) return;
        setenv("LOCPATH", folder.path.c_str(), 1);
        available = std::setlocale(LC_CTYPE, kName) != nullptr;
    }
    ~Latin1Characters() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
    }
    Latin1Characters(const Latin1Characters&) = delete;
    Latin1Characters& operator=(const Latin1Characters&) = delete;

    static constexpr const char* kName = "en_US.ISO-8859-1";
    TemporaryFolder folder;
    bool available = false;
};
