// ZtTransferID: names one transfer of data.
#pragma once

#include <ztlib/ZtID.h>

/// A 64-bit identifier of a transfer; 0 is the empty one.
class ZtTransferID : public ZtID<long long, 0> {
public:
    using ZtID::ZtID;
};
