// Network adapters on Linux: the link-level entries of the interface list.
#include "platform/PlatformAdapter.h"

#include <ifaddrs.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace platform {

namespace {

// Bridges, tunnels and the like have no device behind them.
bool hasDevice(const char* interface) {
    char path[64];
    std::snprintf(path, sizeof path, "/sys/class/net/%s/device", interface);
    return access(path, F_OK) == 0;
}

}  // namespace

void visitNetworkAdapters(void (*take)(void* context, const NetworkAdapter& adapter),
                          void* context) {
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0)
        return;
    for (const ifaddrs* entry = interfaces; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_PACKET)
            continue;
        sockaddr_ll link;
        std::memcpy(&link, entry->ifa_addr, sizeof link);
        NetworkAdapter adapter = {};
        // Loopback is of another type.
        if (link.sll_hatype != ARPHRD_ETHER || link.sll_halen != sizeof adapter.address)
            continue;
        std::memcpy(adapter.address, link.sll_addr, sizeof adapter.address);
        adapter.index = static_cast<unsigned>(link.sll_ifindex);
        adapter.isDevice = hasDevice(entry->ifa_name);
        take(context, adapter);
    }
    freeifaddrs(interfaces);
}

}  // namespace platform
