// Which primitive types convert into each other, and what is said of the others.
#pragma once

#include <ztlib/ZtPrimType.h>

#include <cstdio>

#include "typeddata/RawKernels.h"

namespace rawdata {

/// Finds the kind of a type; false for the types that do not convert.
inline bool findKind(ZtPrimType type, Kind& kind) {
    switch (type) {
        case ZtPrimType::BYTE:
            kind = kByte;
            return true;
        case ZtPrimType::SHORT:
            kind = kShort;
            return true;
        case ZtPrimType::INT:
            kind = kInt;
            return true;
        case ZtPrimType::FLOAT:
            kind = kFloat;
            return true;
        case ZtPrimType::DOUBLE:
            kind = kDouble;
            return true;
        case ZtPrimType::USHORT:
            kind = kUshort;
            return true;
        default:
            return false;
    }
}

/// Says that an operation, "" for most, does not take a type.
inline void reportUnsupported(ZtPrimType type, const char* operation) {
    std::fprintf(stderr, "Unsupported data type %s in ZtRawData%s\n", type.getName(), operation);
}

}  // namespace rawdata
