// ZtDataType: data types named by URI, with a process-wide registry of their sizes.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtPrimType.h>

/// A data type named by a URI: the library's type namespace, "/types#" and a short name such as
/// uint8 or float. Names are interned, so that a data type is one pointer wide and is compared by
/// it. The nine built-in names (int8, uint8, int16, uint16, int32, uint32, float, double, unknown)
/// are registered from the start; modules register further ones. An unregistered name is a type of
/// size 0. Null stands for the name of the unknown type wherever a name is taken.
///
/// The registry belongs to the process, is never destroyed and takes no lock: types are to be
/// registered, and new names used first, on one thread before others start.
class ZTLIB_API ZtDataType {
public:
    /// The unknown type.
    ZtDataType();
    /// The type of that name, which is copied and known from then on. Throws `ZtMemoryException`.
    ZtDataType(const char* name);
    /// The numeric type of that code; the unknown type for `COMPLEX`, `STRING` and other codes.
    ZtDataType(ZtPrimType type);

    /// Becomes the type of that name, as by the constructor.
    ZtDataType& operator=(const char* name);

    /// The built-in type that a pointer's elements have; plain characters are int8. The pointer is
    /// not looked at. Pointers to const unsigned int give int32, not uint32, which callers rely on.
    static ZtDataType ofPointer(signed char*) { return ZtPrimType(ZtPrimType::SBYTE); }
    static ZtDataType ofPointer(const signed char*) { return ZtPrimType(ZtPrimType::SBYTE); }
    static ZtDataType ofPointer(char*) { return ZtPrimType(ZtPrimType::SBYTE); }
    static ZtDataType ofPointer(const char*) { return ZtPrimType(ZtPrimType::SBYTE); }
    static ZtDataType ofPointer(unsigned char*) { return ZtPrimType(ZtPrimType::BYTE); }
    static ZtDataType ofPointer(const unsigned char*) { return ZtPrimType(ZtPrimType::BYTE); }
    static ZtDataType ofPointer(short*) { return ZtPrimType(ZtPrimType::SHORT); }
    static ZtDataType ofPointer(const short*) { return ZtPrimType(ZtPrimType::SHORT); }
    static ZtDataType ofPointer(unsigned short*) { return ZtPrimType(ZtPrimType::USHORT); }
    static ZtDataType ofPointer(const unsigned short*) { return ZtPrimType(ZtPrimType::USHORT); }
    static ZtDataType ofPointer(int*) { return ZtPrimType(ZtPrimType::INT); }
    static ZtDataType ofPointer(const int*) { return ZtPrimType(ZtPrimType::INT); }
    static ZtDataType ofPointer(unsigned int*) { return ZtPrimType(ZtPrimType::UINT); }
    static ZtDataType ofPointer(const unsigned int*) { return ZtPrimType(ZtPrimType::INT); }
    static ZtDataType ofPointer(float*) { return ZtPrimType(ZtPrimType::FLOAT); }
    static ZtDataType ofPointer(const float*) { return ZtPrimType(ZtPrimType::FLOAT); }
    static ZtDataType ofPointer(double*) { return ZtPrimType(ZtPrimType::DOUBLE); }
    static ZtDataType ofPointer(const double*) { return ZtPrimType(ZtPrimType::DOUBLE); }

    /// Comparison with a text compares the whole URI and makes no name known.
    bool operator==(const ZtDataType& other) const { return record_ == other.record_; }
    bool operator!=(const ZtDataType& other) const { return record_ != other.record_; }
    bool operator==(const char* name) const;
    bool operator!=(const char* name) const { return !(*this == name); }

    /// The URI, by any of four names; lives as long as the process.
    const char* getName() const;
    const char* fullName() const { return getName(); }
    const char* commonName() const { return getName(); }
    const char* getCommonName() const { return getName(); }

    /// Bytes of one element, 0 unless the type is registered.
    int memsize() const;
    int size() const { return memsize(); }

    /// As those of the primitive type.
    bool isInteger() const;
    bool isFloat() const;
    /// Whether a `ZtPrimType` corresponds: true of the eight numeric types.
    bool isMcPrimType() const;
    /// The corresponding `ZtPrimType`; `BYTE` when there is none.
    ZtPrimType asMcPrimType() const;

    /// Whether this type is registered and is `other`. A text is made known by it.
    bool isBasedOn(const ZtDataType& other) const;
    bool isBasedOn(const char* name) const;

    /// Whether the name was registered or ever named a data type.
    static bool isKnown(const char* name);

    /// Registers a type of `size` bytes, also for data types that bear the name already. The first
    /// registration of a name stays; later ones are ignored. Throws `ZtMemoryException`.
    static void registerType(const char* name, int size);

    /// What stands before "/types#" in the built-in names; chosen when the library is built
    /// (ZTLIB_TYPE_NAMESPACE).
    static const char* namespaceUri();

private:
    friend class TypeRegistry;
    struct Record;

    // One record for each name, so that equal names share it.
    const Record* record_;
};
