// What this host is called and where it is found.
#include <ztlib/ZtSocketTools.h>

#include <cstring>

#include "platform/PlatformSocket.h"

ZtString ZtSocketTools::GetHostName() {
    char name[256];
    return ZtString(platform::shortHostName(name, sizeof name) ? name : "");
}

unsigned int ZtSocketTools::GetIPAddress() {
    const ZtString name = GetHostName();
    unsigned address = 0;
    return platform::resolveHostBriefly(name.getString(), address) ? address : 0;
}

ZtString ZtSocketTools::GetIPAddressString() {
    const unsigned address = GetIPAddress();
    if (address == 0)
        return ZtString();
    unsigned char bytes[4];
    std::memcpy(bytes, &address, sizeof bytes);
    return ZtString(0, "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
}
