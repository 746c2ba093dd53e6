// ZtPrimType: the primitive element types of typed arrays, by code.
#pragma once

#include <cstring>

/// Names the element type of a typed array: one of ten codes with a name and a size. Codes are not
/// checked when they are stored; a code outside 0 .. 9 has the name "unknown", size 0 and no
/// property. A value as cheap as the int that it holds.
class ZtPrimType {
public:
    /// The types, with the codes that files hold.
    enum Type : int {
        BYTE = 0,     ///< unsigned, 8 bits
        SHORT = 1,    ///< signed, 16 bits
        INT = 2,      ///< signed, 32 bits
        FLOAT = 3,    ///< single precision
        DOUBLE = 4,   ///< double precision
        COMPLEX = 5,  ///< two floats, real part first
        STRING = 6,   ///< a pointer to characters
        USHORT = 7,   ///< unsigned, 16 bits
        UINT = 8,     ///< unsigned, 32 bits
        SBYTE = 9     ///< signed, 8 bits
    };

    /// The number of types.
    static constexpr int kCount = 10;

    /// Names and sizes in bytes, by code. The size of `STRING` is 4 on every system, as files have
    /// it: an array of `char*` cannot be copied by it where pointers are wider.
    static constexpr const char* primTypeName[kCount] = {
        "byte", "short", "int", "float", "double", "complex", "string", "ushort", "uint", "sbyte"};
    static constexpr int primTypeSize[kCount] = {1, 2, 4, 4, 8, 8, 4, 2, 4, 1};

    constexpr ZtPrimType() = default;
    /// Takes any code; one that there is not has size 0 and the name "unknown".
    constexpr ZtPrimType(int code) : code_(code) {}

    /// The pointer only selects the type; it may be null and is not kept.
    constexpr ZtPrimType(signed char*) : code_(SBYTE) {}
    constexpr ZtPrimType(unsigned char*) : code_(BYTE) {}
    constexpr ZtPrimType(char*) : code_(SBYTE) {}
    constexpr ZtPrimType(short*) : code_(SHORT) {}
    constexpr ZtPrimType(unsigned short*) : code_(USHORT) {}
    constexpr ZtPrimType(int*) : code_(INT) {}
    constexpr ZtPrimType(unsigned int*) : code_(UINT) {}
    constexpr ZtPrimType(float*) : code_(FLOAT) {}
    constexpr ZtPrimType(double*) : code_(DOUBLE) {}

    /// Takes any code, as the constructor does.
    constexpr ZtPrimType& operator=(int code) {
        code_ = code;
        return *this;
    }

    /// Compare the codes.
    constexpr bool operator==(int code) const { return code_ == code; }
    constexpr bool operator!=(int code) const { return code_ != code; }
    constexpr bool operator==(ZtPrimType other) const { return code_ == other.code_; }
    constexpr bool operator!=(ZtPrimType other) const { return code_ != other.code_; }

    /// The code.
    constexpr operator int() const { return code_; }
    constexpr Type getType() const { return static_cast<Type>(code_); }

    /// Bytes of one element; 0 for a code that there is not.
    constexpr int size() const { return isValid() ? primTypeSize[code_] : 0; }
    /// The name, never null; "unknown" for a code that there is not.
    constexpr const char* getName() const { return isValid() ? primTypeName[code_] : "unknown"; }

    /// Whether it is an integer type; whether it has negative values, as the floating types do.
    constexpr bool isInteger() const { return isOneOf(kIntegers); }
    constexpr bool isSigned() const { return isOneOf(kSigned); }
    /// Also true of `COMPLEX`.
    constexpr bool isFloat() const { return isOneOf(kFloats); }

    /// Turns an unsigned integer type into the signed one of the same size, in place; leaves
    /// others.
    constexpr ZtPrimType& makeSigned() {
        code_ = code_ == BYTE ? SBYTE : code_ == USHORT ? SHORT : code_ == UINT ? INT : code_;
        return *this;
    }
    /// Turns a signed integer type into the unsigned one of the same size, in place; leaves others.
    constexpr ZtPrimType& makeUnsigned() {
        code_ = code_ == SBYTE ? BYTE : code_ == SHORT ? USHORT : code_ == INT ? UINT : code_;
        return *this;
    }

    /// Looks a name up, case counting. True when there is a type of that name, which `type` is
    /// then; otherwise `type` stays as it is. Null is no name.
    static bool nameToType(const char* name, int& type) {
        for (int code = 0; name && code < kCount; ++code)
            if (std::strcmp(name, primTypeName[code]) == 0) {
                type = code;
                return true;
            }
        return false;
    }
    static bool nameToType(const char* name, ZtPrimType& type) {
        return nameToType(name, type.code_);
    }

private:
    // Sets of codes, one bit each.
    static constexpr unsigned kIntegers =
        1u << BYTE | 1u << SHORT | 1u << INT | 1u << USHORT | 1u << UINT | 1u << SBYTE;
    static constexpr unsigned kFloats = 1u << FLOAT | 1u << DOUBLE | 1u << COMPLEX;
    static constexpr unsigned kSigned = kFloats | 1u << SHORT | 1u << INT | 1u << SBYTE;

    constexpr bool isValid() const { return code_ >= 0 && code_ < kCount; }
    constexpr bool isOneOf(unsigned codes) const { return isValid() && (codes >> code_ & 1u) != 0; }

    int code_ = BYTE;
};
