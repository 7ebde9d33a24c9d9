// Reproducible randomness: the seed is printed, and FAULTS_SEED sets it.
#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

namespace harness::faults {

// Short tests always use the same seed; long ones use a new one each time.
enum class Game { kSame, kNew };

class Chance {
  public:
    explicit Chance(Game game) : seed_(Seed(game)), random_(seed_) {
        std::cout << "FAULTS_SEED=" << seed_ << std::endl;
    }
    // From first to last, inclusive.
    int Between(int first, int last) {
        return std::uniform_int_distribution<int>(first, last)(random_);
    }

  private:
    static unsigned Seed(Game game) {
        const char* chosen = std::getenv("FAULTS_SEED");
        if (chosen != nullptr) return static_cast<unsigned>(std::strtoul(chosen, nullptr, 10));
        return game == Game::kSame ? 1 : std::random_device()();
    }

    unsigned seed_;
    std::mt19937 random_;
};

}  // namespace harness::faults
