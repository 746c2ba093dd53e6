// Where the rows of a mask end in the words of its bits.
#pragma once

#include <cstddef>
#include <cstring>

#include "core/WorkArray.h"

namespace maskstep {

/// The first and the last voxels of all rows of a grid, as bits of the mask's words: a pattern that
/// repeats, kept in a handy length. Rows of many words are long ones: they have no pattern, and
/// whoever works on them cares for their ends.
class RowEnds {
public:
    /// Expects rows of at least one voxel, and the number of words that the rows take.
    RowEnds(int nx, long long numWords) : nx_(nx) {
        long long period = 1;
        if (!areLong()) {
            period = nx;  // nx words hold 32 rows; an even number may be halved with the rows
            for (int rows = 32; rows > 1 && period % 2 == 0; rows /= 2)
                period /= 2;
        }
        length_ = (kLeast + period - 1) / period * period;
        if (length_ > numWords)
            length_ = numWords;
        const auto size = 2 * static_cast<std::size_t>(length_);
        words_.allocate(size);
        std::memset(words_.data(), 0, size * sizeof(unsigned));
        if (areLong())
            return;
        for (long long first = 0; first < 32 * length_; first += nx) {
            words_.data()[first / 32] |= 1u << first % 32;
            const long long last = first + nx - 1;
            if (last < 32 * length_)
                words_.data()[length_ + last / 32] |= 1u << last % 32;
        }
    }

    bool areLong() const { return nx_ >= kLong; }

    /// The first voxels of rows in a word and those behind it, the last ones: as many words as
    /// `stretchFrom(word)` says.
    const unsigned* firsts(long long word) const { return words_.data() + word % length_; }
    const unsigned* lasts(long long word) const { return firsts(word) + length_; }
    long long stretchFrom(long long word) const { return length_ - word % length_; }

    /// The same for one word, of long rows, too. Expects rows of at least 32 voxels.
    unsigned firstsOf(long long word) const { return bit((nx_ - 32 * word % nx_) % nx_); }
    unsigned lastsOf(long long word) const { return bit(nx_ - 1 - 32 * word % nx_); }

private:
    static constexpr long long kLong = 32768;
    static constexpr long long kLeast = 1024;

    static unsigned bit(long long i) { return i < 32 ? 1u << i : 0; }

    long long nx_;
    long long length_;
    WorkArray<unsigned> words_;
};

}  // namespace maskstep
