// A lock for a few instructions at a time.
#pragma once

#include <atomic>

#include "platform/PlatformThread.h"

namespace pool {

/// Held for short and seldom fought over; who waits spins a little and then lets others run. It can
/// stay locked across a fork and be unlocked on both sides, and needs no destruction.
class Lock {
public:
    constexpr Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() {
        while (isHeld_.exchange(true, std::memory_order_acquire))
            wait();
    }
    void unlock() { isHeld_.store(false, std::memory_order_release); }

private:
    void wait() const {
        for (int spins = 0; isHeld_.load(std::memory_order_relaxed); ++spins) {
            if (spins >= kSpins)
                platform::yieldThread();
        }
    }

    static constexpr int kSpins = 100;
    std::atomic<bool> isHeld_{false};
};

/// Holds a lock for as long as it lives.
class Locked {
public:
    explicit Locked(Lock& lock) : lock_(lock) { lock_.lock(); }
    ~Locked() { lock_.unlock(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    Lock& lock_;
};

}  // namespace pool
