// The network adapters of the machine.
#pragma once

namespace platform {

/// An Ethernet adapter or one that presents itself as such.
struct NetworkAdapter {
    unsigned char address[6];  ///< the hardware address, as it is written
    unsigned index;            ///< grows in the system's order of adapters
    bool isDevice;             ///< belongs to a device; false where the system made it up
};

/// Calls take(context, adapter) for each adapter, in any order; not at all when the system does not
/// tell.
void visitNetworkAdapters(void (*take)(void* context, const NetworkAdapter& adapter),
                          void* context);

}  // namespace platform
