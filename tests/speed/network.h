// Networks to measure in: each with `lo` and a number of cards that have addresses.
//
// The cards are taps and bridges in turn (bridges alone where no taps are to be had), up, named
// if001 ..., with the hardware address 02:00:00:00:00:01 ..., one IPv4 and one global IPv6 address.
#pragma once

#include <string>
#include <vector>

// Makes this process, and what it starts from now on, see the network with so many cards. It is
// made when it is first wanted and kept until the end: taking one down is work that would be
// measured.
void EnterNetwork(int cards);

// "if001" for the first card.
std::string CardName(int number);

// The texts of the shell commands that the program runs, from its start to its first full screen:
// first the one that prepares its folder, then the list, then all the others at the same time.
std::string FolderCommand();
std::string ListCommand();
std::string AddressCommand(int number);

// The main menu as it is with so many cards: the lines of the title, then the rows, each with its
// hot key or '-', and 's' for a row to select or 'd' for one to read.
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
