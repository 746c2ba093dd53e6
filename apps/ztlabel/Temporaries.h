// The table of temporary files that a signal handler removes: fixed storage, plain reads and
// writes.
#pragma once

#include <atomic>
#include <cstring>
#include <string>

namespace ztlabel::host {

class Temporaries {
public:
    bool add(const std::string& path) {
        if (path.size() >= sizeof(Slot::path))
            return false;
        for (Slot& slot : slots_)
            if (!slot.used) {
                std::memcpy(slot.path, path.c_str(), path.size() + 1);
                slot.used = true;
                return true;
            }
        return false;
    }

    void forget(const std::string& path) {
        for (Slot& slot : slots_)
            if (slot.used && path == slot.path)
                slot.used = false;
    }

    /// Calls remove(path) for each; fit for a signal handler if `remove` is.
    template <class Remove>
    void removeAll(Remove remove) {
        for (Slot& slot : slots_)
            if (slot.used)
                remove(slot.path);
    }

private:
    struct Slot {
        std::atomic<bool> used{false};
        char path[4096] = {};
    };
    static_assert(std::atomic<bool>::is_always_lock_free);

    Slot slots_[8];
};

}  // namespace ztlabel::host
