// Moves short texts.
#pragma once

#include <cstddef>
#include <cstring>

/// Moves `n` characters as std::memmove does, without a call for the few of a word.
inline void moveText(char* out, const char* in, std::size_t n) {
    if (n > 16) {
        std::memmove(out, in, n);
    } else if (n >= 8) {
        unsigned long long head;
        unsigned long long tail;
        std::memcpy(&head, in, 8);
        std::memcpy(&tail, in + n - 8, 8);
        std::memcpy(out, &head, 8);
        std::memcpy(out + n - 8, &tail, 8);
    } else if (n >= 4) {
        unsigned head;
        unsigned tail;
        std::memcpy(&head, in, 4);
        std::memcpy(&tail, in + n - 4, 4);
        std::memcpy(out, &head, 4);
        std::memcpy(out + n - 4, &tail, 4);
    } else if (n > 0) {
        const char first = in[0];
        const char middle = in[n / 2];
        const char last = in[n - 1];
        out[0] = first;
        out[n / 2] = middle;
        out[n - 1] = last;
    }
}
