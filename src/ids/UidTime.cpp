// The second and the counter of an identifier.
#include "ids/UidTime.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/PlatformLocalTime.h"

namespace uidtime {

namespace {

constexpr int kMostCounters = 999;

// All that concurrent calls share, in one word: the next counter in bits 0 .. 9, in bits 10 .. 19
// how many were given out in the second of the last one, at most 999, and above them that second.
struct State {
    int counter;
    int given;
    long long second;

    explicit State(std::uint64_t word)
        : counter(static_cast<int>(word & 1023)),
          given(static_cast<int>(word >> 10 & 1023)),
          second(static_cast<long long>(word >> 20)) {}
    std::uint64_t word() const {
        return static_cast<std::uint64_t>(second) << 20 | static_cast<std::uint64_t>(given) << 10 |
               static_cast<std::uint64_t>(counter);
    }
};

std::atomic<std::uint64_t> shared{1};
std::atomic<bool> isWaiting{false};

}  // namespace

Moment next() {
    for (;;) {
        std::uint64_t word = shared;
        // The clock is read after the word, so it is behind the word's second only when it was set.
        const platform::WallTime now = platform::wallTime();
        State state(word);
        if (state.second != now.seconds) {
            state.second = now.seconds;
            state.given = 0;
        }
        if (state.given < kMostCounters) {
            ++state.given;
        } else if (isWaiting) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1000 - now.milliseconds));
            continue;
        }
        const int counter = state.counter;
        state.counter = counter % kMostCounters + 1;
        if (shared.compare_exchange_weak(word, state.word()))
            return {now.seconds, counter};
    }
}

void setWait(bool wait) {
    isWaiting = wait;
}

// Local time costs a call of the system wherever the environment has no TZ, so it is kept for as
// long as the second and TZ are the same.
const char* textOf(long long second) {
    struct Kept {
        long long second;
        char zone[64];
        char text[80];  // six numbers of any length
    };
    thread_local Kept kept = {};
    const char* zone = std::getenv("TZ");
    zone = zone ? zone : "\x01";  // unset is not the same as empty
    if (kept.text[0] && second == kept.second && std::strcmp(zone, kept.zone) == 0)
        return kept.text;
    const platform::LocalTime time = platform::localTime(second);
    std::snprintf(kept.text, sizeof kept.text, "%d%02d%02d%02d%02d%02d", time.year, time.month,
                  time.day, time.hour, time.minute, time.second);
    kept.second = second;
    std::snprintf(kept.zone, sizeof kept.zone, "%s", zone);
    return kept.text;
}

}  // namespace uidtime
