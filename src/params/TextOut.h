// Appends to a string piece by piece at the speed of a plain buffer.
#pragma once

#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include "core/NumberText.h"

#include <climits>
#include <cstddef>
#include <cstring>

/// Appends to a string, which must not be used otherwise until `finish`. When that is never
/// reached, since memory was exhausted, the string is as it was.
class TextOut {
public:
    explicit TextOut(ZtString& text)
        : text_(text),
          start_(text.length()),
          first_(text.getString()),
          at_(first_ + start_),
          end_(first_ + text.getMax()) {}
    ~TextOut() {
        // The buffer has room for what was there before: this cannot fail.
        first_[start_] = '\0';
        text_.resize(start_ + 1);
    }
    TextOut(const TextOut&) = delete;
    TextOut& operator=(const TextOut&) = delete;

    void add(char c) { *take(1) = c; }
    void add(const char* text, std::size_t n) { std::memcpy(take(n), text, n); }
    void add(const char* text) { add(text, std::strlen(text)); }
    void addBlanks(long long n) {
        if (n > 0)
            std::memset(take(static_cast<std::size_t>(n > INT_MAX ? INT_MAX : n)), ' ',
                        static_cast<std::size_t>(n));
    }
    void addInteger(int value) {
        const int n = numbertext::lengthOf(value);
        numbertext::write(take(static_cast<std::size_t>(n)), n, value);
    }
    /// With at most `digits` (up to 17) significant digits.
    void addReal(double value, int digits) {
        reserve(numbertext::kMostRealCharacters);
        at_ = numbertext::writeReal(at_, value, digits);
    }

    void finish() {
        *at_ = '\0';
        start_ = static_cast<int>(at_ - first_);
        text_.resize(start_ + 1);
    }

private:
    /// Makes room for `n` characters and a terminator.
    void reserve(std::size_t n) {
        if (static_cast<std::size_t>(end_ - at_) <= n)
            grow(n);
    }
    char* take(std::size_t n) {
        reserve(n);
        char* const place = at_;
        at_ += n;
        return place;
    }
    void grow(std::size_t n) {
        if (n >= INT_MAX)
            ztThrowMemoryException(n);
        const auto used = static_cast<int>(at_ - first_);
        text_.resize(used);
        text_.appendSpace(static_cast<int>(n) + 1);
        first_ = text_.dataPtr();
        at_ = first_ + used;
        end_ = first_ + text_.getMax();
    }

    ZtString& text_;
    int start_;
    char* first_;
    char* at_;
    char* end_;
};
