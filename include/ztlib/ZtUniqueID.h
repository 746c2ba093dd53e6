// ZtUniqueID: a 64-bit number that no two things share.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtID.h>

/// A 64-bit identifier; 0 is the empty one. The class does not make the numbers, it carries them.
/// It has no bytes but those of the number, so a digest may be fed with the object itself.
class ZtUniqueID : public ZtID<long long, 0> {
public:
    using ZtID::ZtID;

    /// The leading decimal integer of a text, clamped to 64 bits, as `ZtString::toInt64` reads it:
    /// the empty identifier for null and for a text without one.
    ZTLIB_API static ZtUniqueID fromAscii(const char* text);
};
