// Shared by the wireless screens: titles, and the two screens of a single network.
#pragma once

#include <span>
#include <string>

#include "net/interface.h"
#include "ui/rows.h"
#include "wifi/supplicant.h"

// "Wireless access points for wlan0 (00:1A:2B:3C:4D:5E)"
std::string AccessPointsTitle(const Interface& card);

// A network and the card on which its screen acts.
struct AccessPointState {
    AccessPoint access_point;
    Interface card;
};

// The first two rows of both screens: the BSSID and SSID of the network, as information.
void AddAddressAndName(Menu& menu, const AccessPointState& state);
constexpr Row<AccessPointState> kAddressAndName = {
    "", 0, 0, nullptr, {.add_list = AddAddressAndName}};

// Runs the screen of one network. The table must start with kAddressAndName.
void RunAccessPointScreen(std::span<const Row<AccessPointState>> rows, AccessPointState state);
