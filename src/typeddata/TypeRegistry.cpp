// The table of data-type names: built-in types, look-up, growth.
#include "typeddata/TypeRegistry.h"

#include <ztlib/ZtHash.h>
#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace {

using Record = TypeRegistry::Record;

#define ZT_TYPE_URI(shortName) ZTLIB_TYPE_NAMESPACE "/types#" shortName

constexpr int kNumBuiltIns = 9;

// Never const: they stand in one table with the records that are registered later.
constinit Record builtIns[kNumBuiltIns] = {
    {ZT_TYPE_URI("unknown"), 0, true},
    {ZT_TYPE_URI("int8"), 1, true, ZtPrimType::SBYTE},
    {ZT_TYPE_URI("uint8"), 1, true, ZtPrimType::BYTE},
    {ZT_TYPE_URI("int16"), 2, true, ZtPrimType::SHORT},
    {ZT_TYPE_URI("uint16"), 2, true, ZtPrimType::USHORT},
    {ZT_TYPE_URI("int32"), 4, true, ZtPrimType::INT},
    {ZT_TYPE_URI("uint32"), 4, true, ZtPrimType::UINT},
    {ZT_TYPE_URI("float"), 4, true, ZtPrimType::FLOAT},
    {ZT_TYPE_URI("double"), 8, true, ZtPrimType::DOUBLE},
};

#undef ZT_TYPE_URI

Record** emptySlots(int capacity) {
    const std::size_t count = static_cast<std::size_t>(capacity);
    auto** slots = static_cast<Record**>(ztmalloc(count * sizeof(Record*)));
    std::fill_n(slots, count, nullptr);
    return slots;
}

Record* newRecord(const char* name) {
    const std::size_t length = std::strlen(name) + 1;
    void* room = ztmalloc(sizeof(Record) + length);
    char* copy = static_cast<char*>(room) + sizeof(Record);
    std::memcpy(copy, name, length);
    return new (room) Record{copy};
}

}  // namespace

TypeRegistry::TypeRegistry() {
    capacity_ = computePrime(4 * kNumBuiltIns);
    slots_ = emptySlots(capacity_);
    for (Record& record : builtIns)
        *slotOf(record.name) = &record;
    count_ = kNumBuiltIns;
}

TypeRegistry& TypeRegistry::instance() {
    // Other static objects use it while the process ends, so no destructor may run.
    alignas(TypeRegistry) static unsigned char room[sizeof(TypeRegistry)];
    static TypeRegistry* const registry = new (room) TypeRegistry;
    return *registry;
}

const Record& TypeRegistry::builtIn(ZtPrimType type) {
    for (const Record& record : builtIns)
        if (record.primType == type)
            return record;
    return unknown();
}

const Record& TypeRegistry::unknown() {
    return builtIns[0];
}

// The slot that holds the name, or the empty one where it belongs.
Record** TypeRegistry::slotOf(const char* name) const {
    // Names that differ in their last characters have neighbouring hash values; without the factor
    // (2^32 divided by the golden ratio) they would crowd one stretch of the table.
    constexpr unsigned kScatter = 0x9e3779b1u;
    const auto capacity = static_cast<unsigned>(capacity_);
    unsigned slot = static_cast<unsigned>(zt_hash(name)) * kScatter % capacity;
    while (slots_[slot] && std::strcmp(slots_[slot]->name, name) != 0)
        slot = (slot + 1) % capacity;
    return &slots_[slot];
}

Record* TypeRegistry::find(const char* name) const {
    return *slotOf(name);
}

Record& TypeRegistry::intern(const char* name) {
    if (Record* known = find(name))
        return *known;
    reserveOne();
    Record* record = newRecord(name);
    *slotOf(name) = record;
    ++count_;
    return *record;
}

// Keeps at least a quarter of the slots empty, so that searches stay short and end.
void TypeRegistry::reserveOne() {
    const int needed = count_ + 1;
    if (needed + needed / 3 <= capacity_)
        return;
    Record** const old = slots_;
    const int oldCapacity = capacity_;
    const int capacity = computePrime(2 * needed);
    slots_ = emptySlots(capacity);
    capacity_ = capacity;
    for (int i = 0; i < oldCapacity; ++i)
        if (old[i])
            *slotOf(old[i]->name) = old[i];
    ztfree(old);
}
