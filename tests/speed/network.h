// Networks for measurements, each with `lo` and a number of cards with addresses.
//
// The cards are alternately taps and bridges (only bridges if taps are not available), up, named
// if001 ..., with hardware addresses 02:00:00:00:00:01 ..., one IPv4 and one global IPv6 address
// each.
#pragma once

#include <string>
#include <vector>

// Switches this process, and everything it starts from now on, to the network with that many cards.
// A network is created when first needed and kept until the end, because removing it is work that
// would be measured.
void EnterNetwork(int cards);

// "if001" for the first card.
std::string CardName(int number);

// The shell commands that the program runs from its start to the first complete screen: first the
// one that prepares its folder, then the list, then all others in parallel.
std::string FolderCommand();
std::string ListCommand();
std::string AddressCommand(int number);

// The main menu with that many cards: the lines of the title, then the rows, each with its hot key
// or '-', and 's' if it can be selected or 'd' if not.
struct Row {
    char key;
    char kind;
    std::string text;
};
struct MainMenu {
    std::vector<std::string> titles;
    std::vector<Row> rows;
};
MainMenu ExpectedMenu(int cards);
