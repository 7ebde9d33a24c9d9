// The interfaces that the main menu lists, for the screens that open from it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct InterfaceEntry {
    std::string name;     // the kernel's name, at most 31 characters
    std::string address;  // "00:1A:2B:3C:4D:5E" in upper case; empty when unknown
};

constexpr std::size_t kMostInterfaces = 64;

// Entry n - 1 belongs to the n-th interface row. Interfaces beyond the 64th have rows, but no
// entry.
extern InterfaceEntry InterfaceTable[kMostInterfaces];

// Stores an entry; does nothing when there is no room for that index.
void StoreInterface(std::size_t index, std::string_view name, std::string_view address);

// The interfaces that `ip link` lists, in its order, without "lo": the names in lines that begin,
// after blanks, with a number and a colon. A name keeps its suffix ("veth0@if5").
std::vector<std::string> ParseInterfaceList(std::string_view ip_link_output);
