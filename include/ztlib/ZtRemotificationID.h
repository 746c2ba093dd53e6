// ZtRemotificationID: names an object that is mirrored in another process.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtID.h>

class ZtString;

/// A 32-bit identifier; 0 is the empty one. Those from 1 to 20 are reserved for the application's
/// own objects, of which 1 to 7 belong to its singletons.
class ZtRemotificationID : public ZtID<int, 0> {
public:
    using ZtID::ZtID;

    /// The leading decimal integer of a text, read as 64 bits (as by `ZtString::toInt64`), of which
    /// the low 32 count.
    ZTLIB_API static ZtRemotificationID fromAscii(const char* text);
    /// The low 32 bits of a number.
    static ZtRemotificationID fromInt64(long long value) {
        return ZtRemotificationID(static_cast<int>(value));
    }

    /// Whether the number is one of 1 to 20, or one of 1 to 7.
    bool isReserved() const { return 1 <= value() && value() <= 20; }
    bool isReservedSingleton() const { return 1 <= value() && value() <= 7; }

    /// The class of the singleton that a reserved identifier belongs to; null for any that is not
    /// `isReservedSingleton`.
    ZTLIB_API const char* singletonClassName() const;

    /// Goes to the next number, up or down, and returns it. The numbers are a ring: the largest is
    /// followed by the smallest. Reserved numbers and the empty one are not left out.
    ZTLIB_API ZtRemotificationID next(bool up);

    /// The number in decimal.
    ZTLIB_API ZtString toZtString() const;
};
