// Network adapters on Windows: NetBIOS tells their addresses; where it is not bound to any, as on
// most systems of today, the list of interfaces does.
#include "platform/PlatformAdapter.h"

#include <winsock2.h>

#include <windows.h>

#include <iphlpapi.h>
#include <nb30.h>

#include <cstdlib>
#include <cstring>

namespace platform {

namespace {

using Take = void (*)(void* context, const NetworkAdapter& adapter);

bool run(NCB& block, UCHAR command, UCHAR adapter, void* buffer, WORD length) {
    block = {};
    block.ncb_command = command;
    block.ncb_lana_num = adapter;
    block.ncb_buffer = static_cast<UCHAR*>(buffer);
    block.ncb_length = length;
    block.ncb_callname[0] = '*';  // the adapter's own name
    return Netbios(&block) == NRC_GOODRET;
}

// Stops at the first adapter that does not answer. Returns whether one did.
bool visitByNetbios(Take take, void* context) {
    NCB block;
    LANA_ENUM adapters = {};
    static_assert(sizeof adapters == 256);
    if (!run(block, NCBENUM, 0, &adapters, sizeof adapters))
        return false;
    for (unsigned i = 0; i < adapters.length; ++i) {
        // The status and the names that the adapter goes by.
        alignas(ADAPTER_STATUS) unsigned char status[600] = {};
        if (!run(block, NCBRESET, adapters.lana[i], nullptr, 0) ||
            !run(block, NCBASTAT, adapters.lana[i], status, sizeof status))
            return i > 0;
        NetworkAdapter adapter = {{}, i, true};
        std::memcpy(adapter.address, status, sizeof adapter.address);
        take(context, adapter);
    }
    return adapters.length > 0;
}

void visitInterfaces(Take take, void* context) {
    constexpr ULONG kFlags = GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_ANYCAST |
                             GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    constexpr int kTries = 4;  // the list may grow between two calls
    ULONG bytes = 16u << 10;
    for (int i = 0; i < kTries; ++i) {
        auto* const list = static_cast<IP_ADAPTER_ADDRESSES*>(std::malloc(bytes));
        if (!list)
            return;
        const ULONG result = GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, list, &bytes);
        if (result == NO_ERROR) {
            for (const IP_ADAPTER_ADDRESSES* entry = list; entry; entry = entry->Next) {
                NetworkAdapter adapter = {{}, entry->IfIndex, true};
                if ((entry->IfType != IF_TYPE_ETHERNET_CSMACD &&
                     entry->IfType != IF_TYPE_IEEE80211) ||
                    entry->PhysicalAddressLength != sizeof adapter.address)
                    continue;
                std::memcpy(adapter.address, entry->PhysicalAddress, sizeof adapter.address);
                take(context, adapter);
            }
        }
        std::free(list);
        if (result != ERROR_BUFFER_OVERFLOW)
            return;
    }
}

}  // namespace

void visitNetworkAdapters(Take take, void* context) {
    if (!visitByNetbios(take, context))
        visitInterfaces(take, context);
}

}  // namespace platform
