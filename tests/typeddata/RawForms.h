// Runs a test in every form of the raw data loops that this processor has.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <vector>

#include "typeddata/RawKernels.h"

/// Makes the operations use a form for as long as it lives.
class UseForm {
public:
    explicit UseForm(rawdata::Form form) { rawdata::useForm(form); }
    ~UseForm() { rawdata::useForm(rawdata::Form::kAutomatic); }
    UseForm(const UseForm&) = delete;
    UseForm& operator=(const UseForm&) = delete;
};

/// Calls `test()` once per form, the plain one first.
template <class Test>
void inEveryForm(Test test) {
    using rawdata::Form;
    for (const Form form : {Form::kPlain, Form::kSse2, Form::kAvx2, Form::kAvx512}) {
        if (!rawdata::hasForm(form))
            continue;
        SCOPED_TRACE("form " + std::to_string(static_cast<int>(form)));
        const UseForm use(form);
        test();
    }
}

/// Elements at a chosen distance from an aligned address, with bytes around them that must stay.
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
    std::vector<unsigned char> block_;
    std::size_t first_ = 0;
};
