// The contract hooks: where broken contracts go.
#include <ztlib/ZtContract.h>

#include <cstdio>
#include <cstdlib>

bool zt_DbC_handleEvents = true;

namespace {

DbCCallback installedCallback = nullptr;

const char* orEmpty(const char* text) {
    return text ? text : "";
}

const char* kindOf(DbCEventType type) {
    switch (type) {
        case DbCPrecondition:
            return "precondition";
        case DbCPostcondition:
            return "postcondition";
        case DbCInvariant:
            return "invariant";
    }
    return "contract";
}

}  // namespace

DbCCallback zt_DbC_callback() {
    return installedCallback;
}

void zt_DbC_callbackSet(DbCCallback callback) {
    installedCallback = callback;
}

void zt_DbC_report(DbCEventType type, const char* condition, const char* function,
                   unsigned int line, const char* file, const char* message) {
    if (!zt_DbC_handleEvents)
        return;
    if (installedCallback) {
        installedCallback(type, orEmpty(condition), orEmpty(function), line, orEmpty(file),
                          orEmpty(message));
        return;
    }
    std::fprintf(stderr, "%s: broken %s: %s at %s:%u %s\n", orEmpty(function), kindOf(type),
                 orEmpty(condition), orEmpty(file), line, orEmpty(message));
    std::abort();
}
