// The hash table of names.
#include "params/NameIndex.h"

#include <ztlib/ZtMemory.h>

#include <bit>
#include <cstddef>

namespace {

constexpr unsigned kMostSlots = 1u << 30;

// Of the name as it is compared: in upper case, up to a blank (FNV-1a).
unsigned hashOf(const char* name) {
    unsigned hash = 2166136261u;
    for (; paramnames::storedAt(name) != 0; ++name)
        hash = (hash ^ paramnames::storedAt(name)) * 16777619u;
    return hash;
}

}  // namespace

NameIndex::NameIndex(const NwParamBundle& bundle, int more) : bundle_(bundle) {
    const int count = bundle.size() - bundle.nBundles();
    // At most half full.
    const auto least = 2 * (static_cast<unsigned>(count) + static_cast<unsigned>(more) + 1);
    if (least > kMostSlots)
        ztThrowMemoryException(std::size_t{least} * sizeof(int));
    slots_.resize(static_cast<int>(std::bit_ceil(least)));
    slots_.fill(0);
    for (int i = 0; i < count; ++i)
        add(i);
}

// The slot of the first parameter with an equal name, or the free one where it belongs.
int NameIndex::slotOf(const char* name) const {
    const unsigned mask = static_cast<unsigned>(slots_.size()) - 1;
    unsigned slot = hashOf(name) & mask;
    while (slots_[slot] != 0 && paramnames::compareStored(nameAt(slots_[slot] - 1), name) != 0)
        slot = (slot + 1) & mask;
    return static_cast<int>(slot);
}

int NameIndex::find(paramnames::Key key) const {
    const int found = slots_[slotOf(key.text)] - 1;
    // A key with a blank in it matches nothing.
    return found >= 0 && paramnames::compare(key, nameAt(found)) == 0 ? found : -1;
}

void NameIndex::add(int position) {
    int& slot = slots_[slotOf(nameAt(position))];
    if (slot == 0)
        slot = position + 1;
}
