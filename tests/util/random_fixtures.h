// Random input for property tests, which check many texts. Each run uses different input; a failing
// test prints the number that reproduces it:
//
//     ifmenu_unit_tests --gtest_filter=NAME --gtest_random_seed=NUMBER
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

class Random {
  public:
    Random()
        : seed_(GivenSeed()),
          engine_(static_cast<std::mt19937::result_type>(seed_)),
          trace_(__FILE__, __LINE__, "made again by --gtest_random_seed=" + std::to_string(seed_)) {
    }

    // From 0 to limit - 1.
    int Below(int limit) { return std::uniform_int_distribution<>(0, limit - 1)(engine_); }
    bool OneIn(int count) { return Below(count) == 0; }

    template <typename Choices>
    const auto& OneOf(const Choices& choices) {
        return choices[static_cast<std::size_t>(Below(static_cast<int>(std::size(choices))))];
    }

    // A text of up to `most` bytes, without any of those excluded.
    std::string Text(int most, std::string_view without = {}) {
        std::string text;
        for (int length = Below(most + 1); length > 0; --length) {
            const char byte = Byte();
            if (without.find(byte) == std::string_view::npos) text += byte;
        }
        return text;
    }

    // Lines made of those words and of any bytes, with any line ends.
    template <typename Words>
    std::string Lines(int most, const Words& words) {
        static constexpr std::string_view kEnds[] = {"\n", "\n", "\n", "\r\n", "\r\r\n", "\n\n"};
        std::string text;
        for (int lines = Below(most + 1); lines > 0; --lines) {
            for (int parts = Below(4); parts > 0; --parts)
                text += OneIn(3) ? Text(8, std::string_view("\n\0", 2)) : std::string(OneOf(words));
            text += OneOf(kEnds);
        }
        if (OneIn(4) && !text.empty()) text.pop_back();
        return text;
    }

  private:
    static int GivenSeed() {
        const int given = testing::GTEST_FLAG(random_seed);
        return given != 0 ? given : std::uniform_int_distribution<>(1, 99999)(device());
    }
    static std::random_device& device() {
        static std::random_device one;
        return one;
    }

    // Mostly blanks and punctuation, sometimes any byte.
    char Byte() {
        static constexpr std::string_view kSigns = "  \t=#:;'\"\\$`()[]/.,-_019azAZ\r\n";
        return OneIn(4) ? static_cast<char>(Below(256)) : OneOf(kSigns);
    }

    int seed_;
    std::mt19937 engine_;
    testing::ScopedTrace trace_;
};
