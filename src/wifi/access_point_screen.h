// What the wireless screens have in common.
#pragma once

#include <span>
#include <string>

#include "net/interface.h"
#include "ui/rows.h"
#include "wifi/supplicant.h"

// "Wireless access points for wlan0 (00:1A:2B:3C:4D:5E)"
std::string AccessPointsTitle(const Interface& card);

// A network, and the card that its screen works on.
struct AccessPointState {
    AccessPoint access_point;
    Interface card;
};

// The first row of both screens of one network: its BSSID and SSID, to be read.
void AddAddressAndName(Menu& menu, const AccessPointState& state);
constexpr Row<AccessPointState> kAddressAndName = {
    "", 0, 0, nullptr, {.add_list = AddAddressAndName}};

// Runs the screen of one network, a table that begins with kAddressAndName.
void RunAccessPointScreen(std::span<const Row<AccessPointState>> rows, AccessPointState state);
