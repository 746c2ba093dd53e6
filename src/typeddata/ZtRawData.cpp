// Raw data operations: which types they take, and what they say about the others.
#include <ztlib/ZtFastCopy.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "typeddata/RawFill.h"
#include "typeddata/RawKernels.h"
#include "typeddata/RawRules.h"
#include "typeddata/RawTypes.h"

namespace {

using rawdata::Kind;

/// The elements of COMPLEX arrays are pairs of floats: `data` and `n` tell of the floats then.
void takePartsOfComplex(ZtTypedPointer& data, std::size_t& n) {
    if (data.primType() != ZtPrimType::COMPLEX)
        return;
    data = ZtTypedPointer(data, ZtPrimType::FLOAT);
    n = static_cast<std::size_t>(std::min<std::uint64_t>(std::uint64_t{2} * n, SIZE_MAX));
}

/// Copies large blocks past the caches.
void copy(void* target, const void* source, std::size_t bytes) {
    if (bytes >= rawdata::kStreamBytes)
        memcpy_amd(target, source, bytes);
    else if (bytes > 0 && target != source)
        std::memcpy(target, source, bytes);
}

template <class T, class Value>
void fillWith(void* data, Value value, std::size_t n) {
    T element;
    if constexpr (std::is_same_v<Value, double>)
        element = rawdata::convertElement<T>(value);
    else
        element = static_cast<T>(value);
    rawdata::fill(data, &element, sizeof element, n);
}

template <class Value>
void fillAny(ZtTypedPointer data, Value value, std::size_t n) {
    switch (data.primType()) {
        case ZtPrimType::BYTE:
            return fillWith<std::uint8_t>(data, value, n);
        case ZtPrimType::SHORT:
            return fillWith<std::int16_t>(data, value, n);
        case ZtPrimType::INT:
            return fillWith<std::int32_t>(data, value, n);
        case ZtPrimType::FLOAT:
            return fillWith<float>(data, value, n);
        case ZtPrimType::DOUBLE:
            return fillWith<double>(data, value, n);
        case ZtPrimType::USHORT:
            return fillWith<std::uint16_t>(data, value, n);
        default:
            rawdata::reportUnsupported(data.primType(), "::memset()");
    }
}

}  // namespace

void ZtRawData::memcpy(ZtTypedPointer target, ZtTypedPointer source, int n) {
    const ZtPrimType to = target.primType();
    const ZtPrimType from = source.primType();
    const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;
    if (to == from) {
        copy(target, source, count * static_cast<std::size_t>(to.size()));
        return;
    }
    if (to == ZtPrimType::COMPLEX || from == ZtPrimType::COMPLEX) {
        std::fputs("ERROR: ZtRawData::memcpy(), complex data are not supported\n", stderr);
        return;
    }
    Kind toKind;
    Kind fromKind;
    if (!rawdata::findKind(to, toKind))
        rawdata::reportUnsupported(to, "()");
    else if (rawdata::findKind(from, fromKind))
        rawdata::convert(toKind, target, fromKind, source, count);
}

void ZtRawData::mapLinear(ZtTypedPointer target, ZtTypedPointer source, unsigned n, double offset,
                          double scale) {
    std::size_t count = n;
    if (source.primType() == ZtPrimType::COMPLEX && target.primType() == ZtPrimType::COMPLEX) {
        target = ZtTypedPointer(target, ZtPrimType::FLOAT);
        takePartsOfComplex(source, count);
    }
    if (source.primType() == ZtPrimType::COMPLEX || target.primType() == ZtPrimType::COMPLEX) {
        std::fputs("ERROR: ZtRawData::mapLinear(), mapping from complex to real is not supported\n",
                   stderr);
        return;
    }
    Kind toKind;
    Kind fromKind;
    if (!rawdata::findKind(target.primType(), toKind))
        rawdata::reportUnsupported(target.primType(), "()");
    else if (rawdata::findKind(source.primType(), fromKind))
        rawdata::map(toKind, target, fromKind, source, count, offset, scale);
}

void ZtRawData::memset(ZtTypedPointer data, int value, unsigned n) {
    fillAny(data, value, n);
}
void ZtRawData::memset(ZtTypedPointer data, double value, unsigned n) {
    fillAny(data, value, n);
}
void ZtRawData::memset(ZtTypedPointer data, long long value, unsigned n) {
    fillAny(data, value, n);
}
void ZtRawData::memset(ZtTypedPointer data, unsigned long long value, unsigned n) {
    fillAny(data, value, n);
}

void ZtRawData::getRange(ZtTypedPointer data, unsigned n, float& minimum, float& maximum) {
    std::size_t count = n;
    takePartsOfComplex(data, count);
    Kind kind;
    if (!rawdata::findKind(data.primType(), kind)) {
        rawdata::reportUnsupported(data.primType(), "()");
    } else if (data) {
        const rawdata::Range range = rawdata::rangeOf(kind, data, std::max<std::size_t>(count, 1));
        minimum = static_cast<float>(range.least);
        maximum = static_cast<float>(range.largest);
    }
}

bool ZtRawData::isConstant(ZtTypedPointer data, unsigned n) {
    std::size_t count = n;
    takePartsOfComplex(data, count);
    Kind kind;
    return rawdata::findKind(data.primType(), kind) &&
           (count == 0 || rawdata::isConstant(kind, data, count));
}

void ZtRawData::swapBytes(ZtTypedPointer data, unsigned n) {
    std::size_t count = n;
    takePartsOfComplex(data, count);
    const int size = data.primType().size();
    if (size == 1 || size == 2 || size == 4 || size == 8)
        rawdata::swapBytes(data, data, static_cast<std::size_t>(size), count);
    else
        std::printf("Swapping of %d-byte words not supported.", size);
}

void ZtRawData::swapBytesWord2(void* data, unsigned n) {
    rawdata::swapBytes(data, data, 2, n);
}
void ZtRawData::swapBytesWord4(void* data, unsigned n) {
    rawdata::swapBytes(data, data, 4, n);
}
void ZtRawData::swapBytesWord8(void* data, unsigned n) {
    rawdata::swapBytes(data, data, 8, n);
}
