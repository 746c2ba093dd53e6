// Takes a fuzzer's bytes apart.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : next_(reinterpret_cast<const char*>(data)), end_(next_ + size) {}

    bool isAtEnd() const { return next_ == end_; }

    /// The next byte, 0 at the end.
    unsigned byte() { return isAtEnd() ? 0u : static_cast<unsigned char>(*next_++); }

    /// The text up to the next byte 0, which is passed over, or to the end.
    std::string text() {
        const char* const stop = std::find(next_, end_, '\0');
        const std::string result(next_, stop);
        next_ = stop == end_ ? stop : stop + 1;
        return result;
    }

    /// All bytes that are left.
    std::string rest() {
        const std::string result(next_, end_);
        next_ = end_;
        return result;
    }

private:
    const char* next_;
    const char* end_;
};
