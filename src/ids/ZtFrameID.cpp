// Frame numbers.
#include <ztlib/ZtFrameID.h>
#include <ztlib/ZtString.h>

bool ZtFrameID::isInRange(const ZtFrameID& from, const ZtFrameID& to) const {
    return (from.isEmpty() || from <= *this) && (to.isEmpty() || *this <= to);
}

ZtFrameID ZtFrameID::fromAscii(const char* text) {
    return ZtFrameID(ZtString::toInt64(text));
}
