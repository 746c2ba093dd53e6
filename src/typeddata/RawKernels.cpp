// Raw data operations over whole arrays: the choice of the form, the rest of the elements that fill
// no vector, and the way around the caches for large results.
#include "typeddata/RawKernels.h"

#include <algorithm>
#include <cstring>

namespace rawdata {
namespace {

#if defined(__x86_64__) || defined(__i386__)
bool processorHasAvx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}
bool processorHasAvx512() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
}
#else
bool processorHasAvx2() {
    return false;
}
bool processorHasAvx512() {
    return false;
}
#endif

/// Null where the build or the processor lacks the form.
const Kernels* kernelsOf(Form form) {
    switch (form) {
        case Form::kPlain:
            return &kPlainKernels;
        case Form::kSse2:
            return kSse2Kernels;
        case Form::kAvx2:
            return processorHasAvx2() ? kAvx2Kernels : nullptr;
        case Form::kAvx512:
            return processorHasAvx512() ? kAvx512Kernels : nullptr;
        case Form::kAutomatic:
            break;
    }
    for (const Form wide : {Form::kAvx512, Form::kAvx2, Form::kSse2})
        if (const Kernels* kernels = kernelsOf(wide))
            return kernels;
    return &kPlainKernels;
}

const Kernels*& kernelsInUse() {
    static const Kernels* kernels = kernelsOf(Form::kAutomatic);
    return kernels;
}

inline const unsigned char* at(const void* data, std::size_t bytes) {
    return static_cast<const unsigned char*>(data) + bytes;
}
inline unsigned char* at(void* data, std::size_t bytes) {
    return static_cast<unsigned char*>(data) + bytes;
}

constexpr std::size_t kLine = 64;

/// Calls `work(out, first, count)`, which makes `count` elements from the first-th on, for pieces
/// of the work that stay in the nearest cache, and streams them from there to `to`.
template <class Work>
void inPieces(void* to, std::size_t toSize, std::size_t fromSize, std::size_t count,
              const Kernels& kernels, Work work) {
    constexpr std::size_t kPiece = 4096;
    constexpr std::size_t kSourcePiece = 16384;
    alignas(kLine) unsigned char piece[kPiece];
    const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(to)) % kLine / toSize;
    work(to, 0, head);
    std::size_t done = head;
    const std::size_t elements = std::min(kPiece / toSize, kSourcePiece / fromSize) / kLine * kLine;
    for (; done + elements <= count; done += elements) {
        work(piece, done, elements);
        kernels.stream(at(to, done * toSize), piece, elements * toSize);
    }
    kernels.endStream();
    work(at(to, done * toSize), done, count - done);
}

/// Does `work(out, first, count)` for all elements, past the caches where that pays.
template <class Work>
void writeAll(void* to, std::size_t toSize, const void* from, std::size_t fromSize,
              std::size_t count, Work work) {
    const Kernels& kernels = *kernelsInUse();
    // Where the array is read before it is written to, its lines are at hand.
    const bool inPlace = to == from;
    const bool isAligned = reinterpret_cast<std::uintptr_t>(to) % toSize == 0;
    if (kernels.stream && !inPlace && isAligned && count >= kStreamBytes / toSize)
        inPieces(to, toSize, fromSize, count, kernels, work);
    else
        work(to, 0, count);
}

/// Gives bounds that are zero the sign of the first zero among the elements.
template <class T>
void setZeros(const void* data, Range& range) {
    if (range.least != 0 && range.largest != 0)
        return;
    T element;
    std::size_t i = 0;
    do
        std::memcpy(&element, at(data, i++ * sizeof element), sizeof element);
    while (element != 0);
    if (range.least == 0)
        range.least = static_cast<double>(element);
    if (range.largest == 0)
        range.largest = static_cast<double>(element);
}

}  // namespace

bool hasForm(Form form) {
    return kernelsOf(form) != nullptr;
}

void useForm(Form form) {
    kernelsInUse() = kernelsOf(form);
}

Form formInUse() {
    for (const Form form : {Form::kAvx512, Form::kAvx2, Form::kSse2})
        if (kernelsInUse() == kernelsOf(form))
            return form;
    return Form::kPlain;
}

void convert(Kind toKind, void* to, Kind fromKind, const void* from, std::size_t count) {
    const std::size_t toSize = kKindSize[toKind];
    const std::size_t fromSize = kKindSize[fromKind];
    const Kernels::Convert fast = kernelsInUse()->convert[toKind][fromKind];
    const Kernels::Convert plain = kPlainKernels.convert[toKind][fromKind];
    writeAll(to, toSize, from, fromSize, count,
             [=](void* out, std::size_t first, std::size_t some) {
                 const void* const in = at(from, first * fromSize);
                 const std::size_t done = fast(out, in, some);
                 plain(at(out, done * toSize), at(in, done * fromSize), some - done);
             });
}

void map(Kind toKind, void* to, Kind fromKind, const void* from, std::size_t count, double offset,
         double scale) {
    const std::size_t toSize = kKindSize[toKind];
    const std::size_t fromSize = kKindSize[fromKind];
    const Kernels::Map fast = kernelsInUse()->map[toKind][fromKind];
    const Kernels::Map plain = kPlainKernels.map[toKind][fromKind];
    writeAll(to, toSize, from, fromSize, count,
             [=](void* out, std::size_t first, std::size_t some) {
                 const void* const in = at(from, first * fromSize);
                 const std::size_t done = fast(out, in, some, offset, scale);
                 plain(at(out, done * toSize), at(in, done * fromSize), some - done, offset, scale);
             });
}

Range rangeOf(Kind kind, const void* data, std::size_t count) {
    Range range;
    kPlainKernels.convert[kDouble][kind](&range.least, data, 1);
    range.largest = range.least;
    // Nothing is less or larger than NaN.
    if (range.least != range.least)
        return range;
    const std::size_t done = kernelsInUse()->widen[kind](data, count, range);
    kPlainKernels.widen[kind](at(data, done * kKindSize[kind]), count - done, range);
    if (kind == kFloat)
        setZeros<float>(data, range);
    else if (kind == kDouble)
        setZeros<double>(data, range);
    return range;
}

bool isConstant(Kind kind, const void* data, std::size_t count) {
    const std::size_t done = kernelsInUse()->countEqual[kind](data, data, count);
    const void* const rest = at(data, done * kKindSize[kind]);
    return kPlainKernels.countEqual[kind](data, rest, count - done) == count - done;
}

void swapBytes(void* to, const void* from, std::size_t elementSize, std::size_t count) {
    const Kernels& kernels = *kernelsInUse();
    const auto swap = [=](Kernels::Convert fast, Kernels::Convert plain) {
        writeAll(to, elementSize, from, elementSize, count,
                 [=](void* out, std::size_t first, std::size_t some) {
                     const void* const in = at(from, first * elementSize);
                     const std::size_t done = fast(out, in, some);
                     plain(at(out, done * elementSize), at(in, done * elementSize), some - done);
                 });
    };
    if (elementSize == 2)
        swap(kernels.swap2, kPlainKernels.swap2);
    else if (elementSize == 4)
        swap(kernels.swap4, kPlainKernels.swap4);
    else if (elementSize == 8)
        swap(kernels.swap8, kPlainKernels.swap8);
    else if (to != from && count > 0)
        std::memcpy(to, from, elementSize * count);
}

}  // namespace rawdata
