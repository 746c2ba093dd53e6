// The process's table of data-type names.
#pragma once

#include <ztlib/ZtDataType.h>
#include <ztlib/ZtPrimType.h>

/// What is known of a data type. There is one record for each name; it is never freed.
struct ZtDataType::Record {
    static constexpr int kNoPrimType = -1;

    const char* name;
    int memSize = 0;
    bool isRegistered = false;
    int primType = kNoPrimType;
};

/// An open-addressing hash table of the records, by the text of their names.
class TypeRegistry {
public:
    using Record = ZtDataType::Record;

    /// The process's registry, filled with the built-in types on first use and never destroyed.
    static TypeRegistry& instance();

    static const Record& builtIn(ZtPrimType type);
    static const Record& unknown();

    /// The record of a name, or null.
    Record* find(const char* name) const;

    /// The record of a name, which is copied and added when it is new. Throws `ZtMemoryException`,
    /// and the registry is then as it was.
    Record& intern(const char* name);

private:
    TypeRegistry();

    Record** slotOf(const char* name) const;
    void reserveOne();

    Record** slots_ = nullptr;
    int capacity_ = 0;
    int count_ = 0;
};
