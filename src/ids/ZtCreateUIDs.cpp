// Unique identifiers: the parts put together.
#include <ztlib/ZtCreateUIDs.h>

#include <utility>

#include "ids/UidParts.h"
#include "ids/UidTime.h"
#include "platform/PlatformLocalTime.h"
#include "platform/PlatformProcess.h"

namespace {

constexpr int kTypes = 5;

long long readNode() {
    uidparts::Node node;
    platform::visitNetworkAdapters(
        [](void* context, const platform::NetworkAdapter& adapter) {
            static_cast<uidparts::Node*>(context)->show(adapter);
        },
        &node);
    return node.number();
}

void writeDigits(char* out, int digits, int value) {
    for (; digits > 0; value /= 10)
        out[--digits] = static_cast<char>('0' + value % 10);
}

}  // namespace

ZtCreateUIDs::ZtCreateUIDs() {
    reset();
}

void ZtCreateUIDs::reset() {
    ZtString version("51"), root("1.3.6.1.4.1.32473");  // both or none
    version_.swapWith(version);
    rootUID_.swapWith(root);
}

bool ZtCreateUIDs::fail(const char* text) {
    lastErrorText_ = text;
    return false;
}

bool ZtCreateUIDs::setRootUID(const char* root) {
    if (!root || !*root)
        return fail("[setRootUID] Got empty root UID.");
    rootUID_ = root;
    return true;
}

bool ZtCreateUIDs::setVersion(const char* version) {
    if (!version || !*version)
        return fail("[setVersion] Got empty version string.");
    version_ = version;
    return true;
}

bool ZtCreateUIDs::createUID(UIDtype type, ZtString& uid) {
    if (type < 0 || type >= kTypes) {
        uid.clear();
        return fail("[createUID] Invalid type specified.");
    }
    static const ZtString* const node = new ZtString(ZtString::fromInt64(readNode()));
    const uidtime::Moment moment = uidtime::next();
    char code[] = ".N.";
    writeDigits(code + 1, 1, type + 2);
    char end[] = "CCC.PPPPP";
    writeDigits(end, 3, moment.counter);
    writeDigits(end + 4, 5, uidparts::processDigits(platform::processId()));

    ZtString text(std::move(uid));  // the buffer, for now, so that uid is empty if there is no more
    text.clear();
    text += rootUID_;
    text += ".2.";
    text += version_;
    text += code;
    text += *node;
    text += '.';
    text += uidtime::textOf(moment.second);
    text += end;
    uid.swapWith(text);  // NOLINT(bugprone-use-after-move): the empty string that a move leaves
    return true;
}

void ZtCreateUIDs::getDateTime(int& year, int& month, int& day, int& hour, int& minute,
                               int& second) const {
    const platform::LocalTime now = platform::localTime(platform::wallTime().seconds);
    year = now.year;
    month = now.month;
    day = now.day;
    hour = now.hour;
    minute = now.minute;
    second = now.second;
}

void ZtCreateUIDs::setWaitForDistinct(bool wait) {
    uidtime::setWait(wait);
}
