// A machine with a wireless card and everything else that makes a screen show its rows. Every
// command that changes something is a stand-in that succeeds.
#pragma once

#include "machine.h"

namespace harness {

class FullMachine : public Machine {
  public:
    FullMachine() {
        Sh("ip link add wlan0 address 02:00:00:00:10:40 type bridge; ip link set wlan0 up;"
           "ip addr add 10.1.2.3/24 dev wlan0; ip addr add 2001:db8::7/64 dev wlan0 nodad;"
           "ip route add default via 10.1.2.1; ip route add default via 10.1.2.9 metric 7");
        Cards("wlan0 name IEEE 802.11\nwlan0 essid studio\nwlan0 freq 2437 6\nwlan0 link 1\n");
        RfkillFiles("wlan0", "1\n", "0\n", "0\n");
        MakeDirectory("/var/network/02:00:00:00:10:40");
        Write("/var/network/02:00:00:00:10:40/wpa_supplicant.pid", "4711\n");
        StandInScript("wpa_cli",
                      "case $3 in\n"
                      "list_networks) printf 'network id / ssid / bssid / flags\\n"
                      "0\\tstudio\\tany\\t[CURRENT]\\n' ;;\n"
                      "scan_result) printf 'bssid / frequency / signal level / flags / ssid\\n"
                      "02:00:00:00:20:07\\t2412\\t-58\\t[WPA2-PSK-CCMP][ESS]\\tBackstage\\n' ;;\n"
                      "add_network) echo 1 ;;\n"
                      "*) echo OK ;;\n"
                      "esac\n");
        for (const char* service :
             {"network", "service-nscd", "service-vsftpd", "service-smbd", "service-nmbd",
              "service-tavrin4-reporting", "service-tavrin4-reporting2",
              "service-tavrin4-reporting-public", "service-reporting-ingest",
              "service-reporting-rejoin", "service-caption-synchronizer", "service-apache",
              "service-control-api", "service-ntpd"})
            StandIn(std::string("/etc/init.d/") + service);
        for (const char* command :
             {"smbpasswd", "vncpasswd", "volkeep-start", "volkeep-stop", "ping", "killall"})
            StandIn(command);
        StandIn("pdbedit",
                "---------------\n"
                "Unix username:        editor\n"
                "Account Flags:        [U          ]\n");
        StandIn("/usr/share/tavrin/local-desktop-vnc");
        MakeDirectory("/etc/samba");
        MakeDirectory("/etc/TAVRIN");
        Write("/usr/share/tavrin/local-desktop", "");
        WriteSettings();
    }

    // The files that determine the services and time servers.
    void WriteSettings() {
        Write("/etc/vsftpd.conf", "ssl_enable=NO\n");
        Write("/etc/ntp.conf", "server time.example.org iburst\n");
        // Only one of the two markers that disable reporting: with both, its row to start or stop
        // is closed.
        for (const char* file : {"/etc/local.desktop.vnc", "/etc/local.desktop.vnc.passwd",
                                 "/etc/samba/smb.conf", "/etc/TAVRIN/disable.reporting"})
            Write(file, "");
    }
};

}  // namespace harness
