// The public names and addresses that the program speaks of: a resolver run by a foundation for
// everyone, reachable by address and by name.
#pragma once

constexpr const char* kPublicResolver = "9.9.9.9";
constexpr const char* kPublicHost = "dns.quad9.net";
