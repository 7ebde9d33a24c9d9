// Searches memory for the remains of a secret.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>

// Whether the text starts there, with its characters that many bytes apart.
inline bool IsAt(const char* place, const char* end, std::string_view secret, std::ptrdiff_t step) {
    if (end - place < static_cast<std::ptrdiff_t>(secret.size()) * step) return false;
    for (char character : secret) {
        if (*place != character) return false;
        place += step;
    }
    return true;
}

// Searches for bytes, and for the numbers in which curses passes keys and characters. Compares byte
// by byte: this memory will be searched itself, and larger moves leave copies.
inline bool Holds(const std::string& memory, std::string_view secret) {
    const char* end = memory.data() + memory.size();
    const char* place = memory.data();
    while ((place = static_cast<const char*>(
                memchr(place, secret.front(), static_cast<std::size_t>(end - place)))) != nullptr) {
        if (IsAt(place, end, secret, 1) || IsAt(place, end, secret, sizeof(std::int32_t))) {
            return true;
        }
        ++place;
    }
    return false;
}

// Whether the writable memory of the process contains the secret.
inline bool MemoryHolds(pid_t process, std::string_view secret) {
    // The shadow memory of a sanitizer is larger than any mapping of our programs.
    constexpr std::uint64_t kLargestMapping = std::uint64_t{1} << 30;
    const std::string folder = "/proc/" + std::to_string(process);
    const int memory = open((folder + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
    std::ifstream maps(folder + "/maps");
    std::uint64_t looked_at = 0;
    bool holds = false;
    for (std::string line; std::getline(maps, line);) {
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        char access[8] = "";
        if (std::sscanf(line.c_str(), "%lx-%lx %7s", &start, &end, access) != 3) continue;
        if (std::strncmp(access, "rw", 2) != 0 || end - start > kLargestMapping) continue;
        std::string bytes(end - start, '\0');
        const ssize_t count = pread(memory, bytes.data(), bytes.size(), static_cast<off_t>(start));
        looked_at += count > 0 ? static_cast<std::uint64_t>(count) : 0;
        holds = holds || Holds(bytes, secret);
        explicit_bzero(bytes.data(), bytes.size());
    }
    close(memory);
    EXPECT_GT(looked_at, 100'000U) << "too little memory was searched";
    return holds;
}

// A filler before the secret in a freed block, whose first bytes the heap itself overwrites.
constexpr std::string_view kOverwrittenByHeap = "0123456789abcdef";

// Whether the secret, which must be a constant, is in the memory of a process that has finished the
// work or was stopped by it.
inline bool StaysInMemory(std::string_view secret, const std::function<void()>& work) {
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        raise(SIGSTOP);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status)) << "the work did not finish";
    const bool stays = MemoryHolds(child, secret);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return stays;
}
