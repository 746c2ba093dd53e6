// ZtDataPointer: an address with its data type, component count and access.
#pragma once

#include <ztlib/ZtDataType.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtPrimType.h>

/// Passes data of a registered type, and whether it may be written to. An item is `nComponents`
/// elements of the type. Does not own the memory and does not enforce the access: it only tells.
class ZTLIB_API ZtDataPointer {
public:
    /// What `constCast` takes; the lowest bit decides.
    enum AccessType : int { READ_WRITE = 2, READ_ONLY = 3 };

    /// Null, of the unknown type, without components, read-only.
    ZtDataPointer() : ZtDataPointer(static_cast<const void*>(nullptr), ZtDataType(), 0) {}

    /// Items of `nComponents` elements of that type; read-only from a pointer to const.
    ZtDataPointer(void* pointer, ZtDataType type, int nComponents = 1)
        : pointer_(pointer), type_(type), nComponents_(nComponents), flags_(0) {}
    ZtDataPointer(const void* pointer, ZtDataType type, int nComponents = 1)
        : pointer_(const_cast<void*>(pointer)),
          type_(type),
          nComponents_(nComponents),
          flags_(kConst) {}

    /// A typed pointer brings its element type and its access along.
    ZtDataPointer(char* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const char* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(unsigned char* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const unsigned char* p, int n = 1)
        : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(short* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const short* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(unsigned short* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const unsigned short* p, int n = 1)
        : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(int* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const int* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(unsigned int* p, int n = 1) : ZtDataPointer(p, ZtPrimType(ZtPrimType::UINT), n) {}
    ZtDataPointer(const unsigned int* p, int n = 1)
        : ZtDataPointer(p, ZtPrimType(ZtPrimType::UINT), n) {}
    ZtDataPointer(float* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const float* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(double* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}
    ZtDataPointer(const double* p, int n = 1) : ZtDataPointer(p, ZtDataType::ofPointer(p), n) {}

    /// The address, the type of an element, and the elements of an item.
    void* pointer() const { return pointer_; }
    operator void*() const { return pointer_; }
    ZtDataType dataType() const { return type_; }
    int nComponents() const { return nComponents_; }

    /// Bytes of one item: components times the size of the type, cut to the range of int.
    int dataElemSize() const;

    /// Whether the data are read-only; the others say that they shall count as that, or not.
    bool isConst() const { return (flags_ & kConst) != 0; }
    void forceConst() { flags_ |= kConst; }
    void forceNonConst() { flags_ &= ~kConst; }

    /// A copy that is read-only when the lowest bit of `access` is set, writable otherwise.
    ZtDataPointer constCast(int access) const;

    /// A copy that points to a copy of the one item, not of an array of them. The caller owns the
    /// new buffer and releases it by `ztfree`. From a null pointer the item is all zeros; where the
    /// size of an item is not positive nothing is copied. Throws `ZtMemoryException`.
    ZtDataPointer duplicateData() const;

private:
    static constexpr unsigned kConst = 1;

    long long itemBytes() const;

    void* pointer_;
    ZtDataType type_;
    int nComponents_;
    unsigned flags_;
};
