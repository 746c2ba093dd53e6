// The numbers in an identifier that are not the time's.
#pragma once

#include <algorithm>
#include <iterator>

#include "platform/PlatformAdapter.h"

namespace uidparts {

/// The process's number as five digits without a leading zero.
inline int processDigits(unsigned processId) {
    const int digits = static_cast<int>(processId % 100000);
    return digits < 10000 ? digits + 90000 : digits;
}

/// Finds the node among the adapters that it is shown, in any order.
class Node {
public:
    void show(const platform::NetworkAdapter& adapter) {
        const auto isZero = [](unsigned char byte) { return byte == 0; };
        if (std::all_of(std::begin(adapter.address), std::end(adapter.address), isZero))
            return;
        if (isKnown_ &&
            (best_.isDevice != adapter.isDevice ? best_.isDevice : best_.index > adapter.index))
            return;
        best_ = adapter;
        isKnown_ = true;
    }

    /// The address as a number of 48 bits, its first byte the most significant.
    long long number() const {
        if (!isKnown_)
            return 84320313;
        long long value = 0;
        for (const unsigned char byte : best_.address)
            value = value << 8 | byte;
        return value;
    }

private:
    platform::NetworkAdapter best_ = {};
    bool isKnown_ = false;
};

}  // namespace uidparts
