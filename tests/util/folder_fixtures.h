// Temporary files, and stand-ins for the system's commands.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

inline std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    // A file of a process that has just exited can be opened, but not read.
    text << file.rdbuf();
    return text.str();
}

// A folder that is removed with its contents.
struct TemporaryFolder {
    TemporaryFolder() : path((std::filesystem::temp_directory_path() / "ifmenu.XXXXXX").string()) {
        if (mkdtemp(path.data()) == nullptr) std::abort();
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string Path(const std::string& name) const { return path + "/" + name; }

    // Writes a file and creates its parent folders; returns its full path.
    std::string File(const std::string& name, const std::string& content) const {
        std::string file = Path(name);
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    std::string path;
};

// A command that the shell finds first while the object lives. Its folder is private and can hold
// other files.
struct OwnCommand {
    OwnCommand(const std::string& name, const std::string& script) {
        const char* path = std::getenv("PATH");
        if (path != nullptr) path_before = path;
        const std::string file = folder.File(name, "#!/bin/sh\n" + script);
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        setenv("PATH", (folder.path + ":" + path_before).c_str(), 1);
    }
    ~OwnCommand() { setenv("PATH", path_before.c_str(), 1); }
    OwnCommand(const OwnCommand&) = delete;
    OwnCommand& operator=(const OwnCommand&) = delete;

    TemporaryFolder folder;
    std::string path_before;
};
