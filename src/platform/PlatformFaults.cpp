// Calls of the system that are made to fail.
#include "platform/PlatformFaults.h"

#include <atomic>

namespace platform {

namespace {

// Without a `CallFaults`, `isWatching` is all that is ever looked at.
struct Kind {
    std::atomic<int> calls{0};
    std::atomic<int> firstFailing{0};
    std::atomic<int> endFailing{0};
    std::atomic<int> error{0};
    void (*act)(void*) = nullptr;
    void* context = nullptr;
};
std::atomic<bool> isWatching{false};
Kind kinds[kCallKinds];

Kind& kindOf(Call call) {
    return kinds[static_cast<int>(call)];
}

}  // namespace

CallFaults::CallFaults() {
    for (Kind& kind : kinds) {
        kind.calls = 0;
        kind.endFailing = 0;
        kind.act = nullptr;
    }
    isWatching = true;
}

CallFaults::~CallFaults() {
    isWatching = false;
}

void CallFaults::fail(Call call, int error, int after, int times) {
    Kind& kind = kindOf(call);
    kind.error = error;
    kind.firstFailing = kind.calls + after;
    kind.endFailing = kind.firstFailing + times;
}

void CallFaults::before(Call call, void (*act)(void* context), void* context) {
    kindOf(call).act = act;
    kindOf(call).context = context;
}

int CallFaults::calls(Call call) const {
    return kindOf(call).calls;
}

int faultOf(Call call) noexcept {
    if (!isWatching.load(std::memory_order_relaxed))
        return 0;
    Kind& kind = kindOf(call);
    const int number = kind.calls++;
    if (kind.act) {
        isWatching = false;
        kind.act(kind.context);
        isWatching = true;
    }
    return number >= kind.firstFailing && number < kind.endFailing ? kind.error.load() : 0;
}

}  // namespace platform
