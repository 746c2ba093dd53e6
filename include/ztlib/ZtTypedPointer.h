// ZtTypedPointer: an untyped address together with its primitive element type.
#pragma once

#include <ztlib/ZtPrimType.h>

/// Passes an array of any primitive element type to an operation that takes them all. Does not own
/// the memory. For types beyond the primitive ones, several components or read-only data see
/// `ZtDataPointer`.
class ZtTypedPointer {
public:
    /// An address and the type of the elements there.
    constexpr ZtTypedPointer(void* pointer, ZtPrimType type) : pointer_(pointer), type_(type) {}

    /// A typed pointer brings its element type along; plain characters are signed.
    constexpr ZtTypedPointer(unsigned char* pointer) : ZtTypedPointer(pointer, ZtPrimType::BYTE) {}
    constexpr ZtTypedPointer(signed char* pointer) : ZtTypedPointer(pointer, ZtPrimType::SBYTE) {}
    constexpr ZtTypedPointer(char* pointer) : ZtTypedPointer(pointer, ZtPrimType::SBYTE) {}
    constexpr ZtTypedPointer(short* pointer) : ZtTypedPointer(pointer, ZtPrimType::SHORT) {}
    constexpr ZtTypedPointer(unsigned short* pointer)
        : ZtTypedPointer(pointer, ZtPrimType::USHORT) {}
    constexpr ZtTypedPointer(int* pointer) : ZtTypedPointer(pointer, ZtPrimType::INT) {}
    constexpr ZtTypedPointer(unsigned int* pointer) : ZtTypedPointer(pointer, ZtPrimType::UINT) {}
    constexpr ZtTypedPointer(float* pointer) : ZtTypedPointer(pointer, ZtPrimType::FLOAT) {}
    constexpr ZtTypedPointer(double* pointer) : ZtTypedPointer(pointer, ZtPrimType::DOUBLE) {}

    /// The type of the elements, and their address.
    constexpr ZtPrimType primType() const { return type_; }
    constexpr operator void*() const { return pointer_; }

private:
    void* pointer_;
    ZtPrimType type_;
};
