// The loops of the raw data operations over arrays of the types that convert into each other, plain
// (the oracle) and on vectors of 128, 256 and 512 bits (SSE2, AVX2, AVX-512).
//
// Nothing that this header declares may bring code into the wide units that other units could
// share: aggregates and declarations only.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>
#include <cstdint>

namespace rawdata {

/// The types that convert into each other, numbered side by side.
enum Kind : int { kByte, kShort, kInt, kFloat, kDouble, kUshort };
inline constexpr int kKinds = 6;
inline constexpr std::size_t kKindSize[kKinds] = {1, 2, 4, 4, 8, 2};

/// The least and the largest value so far; a double holds each of the types exactly.
struct Range {
    double least, largest;
};

/// The kernels of one form, indexed by kind, destination first. Each handles as many of the first
/// `count` elements as are a multiple of its stride and returns their number; the plain ones handle
/// all. Arrays may lie at any address. Where the elements written are no larger than those read,
/// both arrays may start at the same address; they must not overlap otherwise.
struct Kernels {
    using Convert = std::size_t (*)(void* to, const void* from, std::size_t count);
    using Map = std::size_t (*)(void* to, const void* from, std::size_t count, double offset,
                                double scale);
    /// Widens `range`, whose bounds are elements of the type, over elements that may be NaN. Which
    /// of two zeros is found is open.
    using Widen = std::size_t (*)(const void* data, std::size_t count, Range& range);
    /// Stops at the first stride that holds an element unlike the one at `value`.
    using CountEqual = std::size_t (*)(const void* value, const void* data, std::size_t count);

    Convert convert[kKinds][kKinds];
    Map map[kKinds][kKinds];
    Widen widen[kKinds];
    CountEqual countEqual[kKinds];
    /// Reverse the bytes of elements of 2, 4 and 8 bytes.
    Convert swap2, swap4, swap8;
    /// Copies bytes past the caches, to where they are not needed soon; null where there is none.
    /// Expects `to` to be a multiple of 64.
    Convert stream;
    /// Orders what was streamed before all that is written afterwards.
    void (*endStream)();
};

extern const Kernels kPlainKernels;
extern const Kernels* const kSse2Kernels;  ///< Null where the build has none.
extern const Kernels* const kAvx2Kernels;
extern const Kernels* const kAvx512Kernels;

/// The forms, which all give the same answer.
enum class Form : unsigned char { kAutomatic, kPlain, kSse2, kAvx2, kAvx512 };

/// Whether this processor and this build have the form.
ZTLIB_API bool hasForm(Form form);

/// Makes every operation use `form` from now on. Expects `hasForm(form)`.
ZTLIB_API void useForm(Form form);

/// Results of so many bytes and more go past the caches: they would drive out what is there, and
/// a line that is written need not be read first. Smaller ones are likely to be used soon.
inline constexpr std::size_t kStreamBytes = std::size_t{4} << 20;

/// The form in use, which is not kAutomatic.
Form formInUse();

// The operations over whole arrays, in the form in use.
void convert(Kind toKind, void* to, Kind fromKind, const void* from, std::size_t count);
void map(Kind toKind, void* to, Kind fromKind, const void* from, std::size_t count, double offset,
         double scale);
/// Expects at least one element.
Range rangeOf(Kind kind, const void* data, std::size_t count);
bool isConstant(Kind kind, const void* data, std::size_t count);
/// Reverses the bytes of elements of 2, 4 or 8 bytes; of others copies them.
void swapBytes(void* to, const void* from, std::size_t elementSize, std::size_t count);

}  // namespace rawdata
