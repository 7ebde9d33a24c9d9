#include "secret.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <sstream>

namespace harness {
namespace {

// Long enough not to occur by chance.
constexpr size_t kPartLength = 7;
// The shadow memory of a sanitizer is larger than any mapping of our programs, and holds no text.
constexpr uint64_t kLargestMapping = uint64_t{1} << 30;
constexpr size_t kLeastMemory = 100000;

template <typename Number>
void AddParts(const std::string& secret, std::vector<std::string>& parts) {
    for (size_t start = 0; start + kPartLength <= secret.size(); start += kPartLength) {
        const std::string part = secret.substr(start, kPartLength);
        const std::vector<Number> numbers(part.begin(), part.end());
        parts.emplace_back(reinterpret_cast<const char*>(numbers.data()),
                           numbers.size() * sizeof(Number));
    }
}

std::string ReadMemory(int memory, uint64_t start, uint64_t end) {
    std::string bytes(end - start, '\0');
    size_t have = 0;
    while (have < bytes.size()) {
        const ssize_t got = pread(memory, bytes.data() + have, bytes.size() - have,
                                  static_cast<off_t>(start + have));
        if (got <= 0) break;
        have += static_cast<size_t>(got);
    }
    bytes.resize(have);
    return bytes;
}

}  // namespace

std::vector<std::string> TracesOfSecret(const Terminal& t, const std::string& secret) {
    const std::string proc = "/proc/" + std::to_string(t.pid());
    const Descriptor memory(open((proc + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(memory) << "the program's memory cannot be read";
    std::vector<std::string> parts;
    AddParts<char>(secret, parts);
    AddParts<int32_t>(secret, parts);
    std::vector<std::string> traces;
    size_t read = 0;
    std::istringstream maps(ReadWhole(proc + "/maps"));
    for (std::string line; std::getline(maps, line);) {
        uint64_t start = 0, end = 0;
        char access[8] = "";
        if (sscanf(line.c_str(), "%lx-%lx %7s", &start, &end, access) != 3) continue;
        if (access[0] != 'r' || access[1] != 'w' || end - start > kLargestMapping) continue;
        const std::string bytes = ReadMemory(memory.get(), start, end);
        read += bytes.size();
        for (const std::string& part : parts) {
            if (bytes.find(part) == std::string::npos) continue;
            traces.push_back(part.substr(0, 4) + " in " + line);
        }
    }
    EXPECT_GT(read, kLeastMemory) << "too little memory was searched";
    return traces;
}

}  // namespace harness
