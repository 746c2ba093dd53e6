// What the tests of raw data share: every form of the loops, arrays anywhere, types and bytes.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtTypedPointer.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "typeddata/RawKernels.h"

using Bytes = std::vector<unsigned char>;

inline Bytes randomBytes(std::size_t count, std::mt19937& random) {
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random()); });
    return bytes;
}

/// The bytes of some elements of a type with those of each number in reverse.
inline Bytes swapped(Bytes bytes, ZtPrimType type) {
    const auto word = type == ZtPrimType::COMPLEX ? 4 : type.size();
    for (auto at = bytes.begin(); at != bytes.end(); at += word)
        std::reverse(at, at + word);
    return bytes;
}

template <class T>
ZtTypedPointer pointer(std::vector<T>& values) {
    return ZtTypedPointer(values.data());
}

/// What `action` prints on standard error.
template <class Action>
std::string errorsOf(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

/// Calls `test(T{})` for each of some types.
template <class... T, class Test>
void forEach(Test test) {
    (test(T{}), ...);
}
template <class Test>
void forEachType(Test test) {
    forEach<std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, float, double>(test);
}

/// Calls `test()` in each form of the loops that this processor has, the plain one first.
template <class Test>
void inEveryForm(Test test) {
    using rawdata::Form;
    for (const Form form : {Form::kPlain, Form::kSse2, Form::kAvx2, Form::kAvx512}) {
        if (!rawdata::hasForm(form))
            continue;
        SCOPED_TRACE("form " + std::to_string(static_cast<int>(form)));
        rawdata::useForm(form);
        test();
    }
    rawdata::useForm(rawdata::Form::kAutomatic);
}

/// Bytes at a chosen distance from an aligned address, with others around them that must stay.
class Misaligned {
public:
    Misaligned(std::size_t bytes, std::size_t misalignment)
        : bytes_(bytes), block_(bytes + 3 * kMargin, kUntouched) {
        const auto address = reinterpret_cast<std::uintptr_t>(block_.data());
        first_ = kMargin + (0 - address) % kMargin + misalignment % kMargin;
    }

    unsigned char* data() { return block_.data() + first_; }
    bool isUntouchedAround() const {
        for (std::size_t i = 0; i < block_.size(); ++i)
            if ((i < first_ || i >= first_ + bytes_) && block_[i] != kUntouched)
                return false;
        return true;
    }

private:
    static constexpr std::size_t kMargin = 64;
    static constexpr unsigned char kUntouched = 0xA5;

    std::size_t bytes_;
    Bytes block_;
    std::size_t first_ = 0;
};

/// Calls `test(count, misalignment)` for all lengths up to 130 and for all misalignments.
template <class Test>
void atAllAddresses(Test test) {
    for (std::size_t count = 0; count <= 130; ++count)
        test(count, count * 5 % 64);
    for (std::size_t misalignment = 0; misalignment < 64; ++misalignment)
        test(std::size_t{259}, misalignment);
}
