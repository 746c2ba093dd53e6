// Identifiers of mirrored objects, and the singletons that have reserved ones.
#include <ztlib/ZtRemotificationID.h>
#include <ztlib/ZtString.h>

namespace {

// By identifier, from 1 on.
constexpr const char* kSingletons[] = {
    nullptr,         "ZtServerPeer",  "ZtBackEndPeer",     "ZtTransferManager",
    "ZtLoadManager", "ZtDataManager", "ZtVolumeInfoCache", "ZtErrorNotifier"};

}  // namespace

ZtRemotificationID ZtRemotificationID::fromAscii(const char* text) {
    return fromInt64(ZtString::toInt64(text));
}

const char* ZtRemotificationID::singletonClassName() const {
    return isReservedSingleton() ? kSingletons[value()] : nullptr;
}

ZtRemotificationID ZtRemotificationID::next(bool up) {
    const unsigned number = static_cast<unsigned>(value());
    valueSet(static_cast<int>(up ? number + 1 : number - 1));
    return *this;
}

ZtString ZtRemotificationID::toZtString() const {
    return ZtString::fromInt64(value());
}
