// The search for a text, sixteen places at a time where the processor can.
#include "core/FindText.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Looks for the first character, then compares the rest. Expects m >= 1.
const char* findByFirst(const char* first, const char* last, const char* wanted, std::size_t m) {
    while (static_cast<std::size_t>(last - first) >= m) {
        const std::size_t starts = static_cast<std::size_t>(last - first) - m + 1;
        const char* p = static_cast<const char*>(std::memchr(first, *wanted, starts));
        if (p == nullptr)
            return nullptr;
        if (std::memcmp(p + 1, wanted + 1, m - 1) == 0)
            return p;
        first = p + 1;
    }
    return nullptr;
}

}  // namespace

const char* findText(const char* first, const char* last, const char* wanted, std::size_t m) {
    if (m == 0)
        return first;
#if defined(__SSE2__)
    // Sixteen places at a time: those where both the first and the last character agree.
    if (m > 1) {
        const __m128i head = _mm_set1_epi8(wanted[0]);
        const __m128i tail = _mm_set1_epi8(wanted[m - 1]);
        for (; static_cast<std::size_t>(last - first) >= m + 15; first += 16) {
            const __m128i heads = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
            const __m128i tails = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + m - 1));
            unsigned places = static_cast<unsigned>(_mm_movemask_epi8(
                _mm_and_si128(_mm_cmpeq_epi8(heads, head), _mm_cmpeq_epi8(tails, tail))));
            for (; places != 0; places &= places - 1) {
                const char* p = first + __builtin_ctz(places);
                if (std::memcmp(p + 1, wanted + 1, m - 2) == 0)
                    return p;
            }
        }
    }
#endif
    return findByFirst(first, last, wanted, m);
}
