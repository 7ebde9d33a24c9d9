// The mutants of sources, for tools/mutants.
//
//     ifmenu_mutants list SEED FILE...    all of them, in an order that the seed makes
//     ifmenu_mutants make FILE INDEX      the source of one, to standard output
//
// A line of the list: FILE, INDEX, LINE and the description, with tabs between them.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>

#include "mutants/mutation.h"

namespace {

std::string Read(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        std::cerr << path << ": cannot be read\n";
        std::exit(1);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

int List(unsigned long seed, const std::vector<std::string>& paths) {
    std::vector<std::string> lines;
    for (const std::string& path : paths) {
        const std::string source = Read(path);
        const std::vector<Mutant> mutants = MutantsOf(source);
        for (std::size_t index = 0; index < mutants.size(); ++index)
            lines.push_back(path + '\t' + std::to_string(index) + '\t' +
                            std::to_string(LineOf(source, mutants[index])) + '\t' +
                            Describe(source, mutants[index]));
    }
    // Unlike std::shuffle, this gives one order with every standard library.
    std::mt19937_64 random(seed);
    for (std::size_t left = lines.size(); left > 1; --left)
        std::swap(lines[left - 1], lines[random() % left]);
    for (const std::string& line : lines)
        std::cout << line << '\n';
    return 0;
}

int Make(const std::string& path, std::size_t index) {
    const std::string source = Read(path);
    const std::vector<Mutant> mutants = MutantsOf(source);
    if (index >= mutants.size()) {
        std::cerr << path << ": has no mutant " << index << '\n';
        return 1;
    }
    std::cout << Mutate(source, mutants[index]);
    return 0;
}

}  // namespace

int main(int count, char** words) {
    const std::vector<std::string> arguments(words + 1, words + count);
    if (arguments.size() >= 3 && arguments[0] == "list")
        return List(std::strtoul(arguments[1].c_str(), nullptr, 10),
                    {arguments.begin() + 2, arguments.end()});
    if (arguments.size() == 3 && arguments[0] == "make")
        return Make(arguments[1], std::strtoul(arguments[2].c_str(), nullptr, 10));
    std::cerr << "usage: ifmenu_mutants list SEED FILE... | make FILE INDEX\n";
    return 2;
}
