// Unique numbers from text.
#include <ztlib/ZtString.h>
#include <ztlib/ZtUniqueID.h>

ZtUniqueID ZtUniqueID::fromAscii(const char* text) {
    return ZtUniqueID(ZtString::toInt64(text));
}
