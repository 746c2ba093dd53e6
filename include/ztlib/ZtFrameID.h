// ZtFrameID: the number of a frame in a time series.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtID.h>

/// A frame number from 0 on; -1 is the empty one.
class ZtFrameID : public ZtID<long long, -1> {
public:
    using ZtID::ZtID;

    /// Whether this can be a frame's number or is empty: at least -1.
    bool isValid() const { return value() >= -1; }

    /// Whether the frame lies between two others, both included. An empty bound is open, so that
    /// two of them hold every frame.
    ZTLIB_API bool isInRange(const ZtFrameID& from, const ZtFrameID& to) const;

    /// The leading decimal integer of a text, clamped to 64 bits, as `ZtString::toInt64` reads it:
    /// 0 for null and for a text without one.
    ZTLIB_API static ZtFrameID fromAscii(const char* text);
    static ZtFrameID fromInt64(long long value) { return ZtFrameID(value); }
};
