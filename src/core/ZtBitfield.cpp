// Bit fields: storage, ranges, counting, searching, set algebra.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

#include "core/BitKernels.h"

namespace {

constexpr unsigned kWordBits = 32;
constexpr unsigned kAllBits = 0xffffffffu;

// The bits of a word below `count`, which is less than the word has.
unsigned bitsBelow(unsigned count) {
    return (1u << count) - 1;
}

unsigned* newWords(unsigned count) {
    return static_cast<unsigned*>(ztmalloc(std::size_t{count} * sizeof(unsigned)));
}

void fill(unsigned* from, unsigned* to, int init) {
    if (init == ZtBitfield::INIT_SET || init == ZtBitfield::INIT_CLEAR)
        std::fill(from, to, init == ZtBitfield::INIT_SET ? kAllBits : 0u);
}

// Calls `change(word, mask)` for the words that hold the bits first .. last.
template <class Change>
void changeRange(unsigned* words, unsigned first, unsigned last, Change change) {
    const unsigned head = kAllBits << first % kWordBits;
    const unsigned tail = kAllBits >> (kWordBits - 1 - last % kWordBits);
    unsigned* word = words + first / kWordBits;
    unsigned* const lastWord = words + last / kWordBits;
    if (word == lastWord) {
        change(*word, head & tail);
        return;
    }
    change(*word, head);
    for (++word; word < lastWord; ++word)
        change(*word, kAllBits);
    change(*lastWord, tail);
}

}  // namespace

ZtBitfield::ZtBitfield(unsigned n, int init) {
    if (n == 0)
        return;
    const unsigned count = n / kWordBits + 1;
    words_ = newWords(count);
    nWords_ = count;
    nBits_ = n;
    fill(words_, words_ + nWords_, init);
}

ZtBitfield::ZtBitfield(const ZtBitfield& other) {
    *this = other;
}

ZtBitfield::ZtBitfield(ZtBitfield&& other) noexcept {
    *this = std::move(other);
}

ZtBitfield& ZtBitfield::operator=(const ZtBitfield& other) {
    if (nWords_ != other.nWords_) {
        unsigned* const words = other.nWords_ > 0 ? newWords(other.nWords_) : nullptr;
        ztfree(words_);
        words_ = words;
        nWords_ = other.nWords_;
    }
    nBits_ = other.nBits_;
    if (this != &other)
        std::copy_n(other.words_, nWords_, words_);
    return *this;
}

ZtBitfield& ZtBitfield::operator=(ZtBitfield&& other) noexcept {
    std::swap(nBits_, other.nBits_);
    std::swap(nWords_, other.nWords_);
    std::swap(words_, other.words_);
    return *this;
}

ZtBitfield::~ZtBitfield() {
    ztfree(words_);
}

void ZtBitfield::resize(unsigned n, int init) {
    const unsigned oldWords = nWords_;
    const unsigned newCount = n / kWordBits + 1;
    if (newCount != oldWords) {
        const std::size_t bytes = std::size_t{newCount} * sizeof(unsigned);
        words_ = static_cast<unsigned*>(ztrealloc(words_, bytes));
        nWords_ = newCount;
        if (newCount > oldWords)
            fill(words_ + oldWords, words_ + newCount, init);
    }
    // The rest of the words that were held already; when the old number of bits is a multiple of 32
    // that is a whole one.
    if (n > nBits_ && nBits_ / kWordBits < oldWords) {
        unsigned& word = words_[nBits_ / kWordBits];
        const unsigned kept = bitsBelow(nBits_ % kWordBits);
        if (init == INIT_SET)
            word |= ~kept;
        else if (init == INIT_CLEAR)
            word &= kept;
    }
    nBits_ = n;
}

void ZtBitfield::setRange(unsigned first, unsigned last) {
    if (first <= last && first < nBits_)
        changeRange(words_, first, std::min(last, nBits_ - 1),
                    [](unsigned& word, unsigned mask) { word |= mask; });
}

void ZtBitfield::unsetRange(unsigned first, unsigned last) {
    if (first <= last && first < nBits_)
        changeRange(words_, first, std::min(last, nBits_ - 1),
                    [](unsigned& word, unsigned mask) { word &= ~mask; });
}

void ZtBitfield::setAll() {
    std::fill_n(words_, nWords_, kAllBits);
}

void ZtBitfield::unsetAll() {
    std::fill_n(words_, nWords_, 0u);
}

void ZtBitfield::toggleAll() {
    bitkernels::complement(words_, nWords_);
}

// The bits of the word after the full ones that are part of the value.
unsigned ZtBitfield::lastBits() const {
    const unsigned count = nBits_ % kWordBits;
    return count > 0 ? words_[nFullWords()] & bitsBelow(count) : 0;
}

unsigned ZtBitfield::nSetBits() const {
    return static_cast<unsigned>(bitkernels::countSetBits(words_, nFullWords())) +
           static_cast<unsigned>(std::popcount(lastBits()));
}

unsigned ZtBitfield::firstSetBit() const {
    const unsigned full = nFullWords();
    const auto word = static_cast<unsigned>(bitkernels::firstOtherThan(0, words_, full));
    const unsigned bits = word < full ? words_[word] : lastBits();
    return bits ? word * kWordBits + static_cast<unsigned>(std::countr_zero(bits)) : nBits_;
}

unsigned ZtBitfield::firstUnsetBit() const {
    const unsigned full = nFullWords();
    const auto word = static_cast<unsigned>(bitkernels::firstOtherThan(kAllBits, words_, full));
    const unsigned bits = word < full ? words_[word] : lastBits();
    // Behind the last bits, which are masked, comes a clear one: at nBits() when all are set.
    return word * kWordBits + static_cast<unsigned>(std::countr_one(bits));
}

unsigned ZtBitfield::lastSetBit() const {
    const unsigned full = nFullWords();
    if (const unsigned bits = lastBits())
        return full * kWordBits + static_cast<unsigned>(std::bit_width(bits)) - 1;
    const auto word = static_cast<unsigned>(bitkernels::lastNonZero(words_, full));
    if (word == full)
        return nBits_;
    return word * kWordBits + static_cast<unsigned>(std::bit_width(words_[word])) - 1;
}

ZtBitfield& ZtBitfield::operator^=(const ZtBitfield& other) {
    bitkernels::exclusiveOr(words_, other.words_, std::min(nWords_, other.nWords_));
    return *this;
}

ZtBitfield& ZtBitfield::operator|=(const ZtBitfield& other) {
    bitkernels::unite(words_, other.words_, std::min(nWords_, other.nWords_));
    return *this;
}

ZtBitfield& ZtBitfield::operator&=(const ZtBitfield& other) {
    bitkernels::intersect(words_, other.words_, std::min(nWords_, other.nWords_));
    return *this;
}

bool ZtBitfield::operator==(const ZtBitfield& other) const {
    const std::size_t bytes = std::size_t{nFullWords()} * sizeof(unsigned);
    return nBits_ == other.nBits_ && lastBits() == other.lastBits() &&
           (bytes == 0 || std::memcmp(words_, other.words_, bytes) == 0);
}

// The bits of word `word` that are part of the value; 0 beyond the field.
unsigned ZtBitfield::bitsOfWord(unsigned word) const {
    const unsigned full = nFullWords();
    return word < full ? words_[word] : word == full ? lastBits() : 0;
}

bool ZtBitfield::isSuperset(const ZtBitfield& other) const {
    const unsigned common = std::min(nFullWords(), other.nFullWords());
    if (!bitkernels::contains(words_, other.words_, common))
        return false;
    // The last word of the field that has fewer full ones; beyond it only the other may have bits,
    // which are then above this field.
    const unsigned inField = bitsBelow(nBits_ % kWordBits) | (common < nFullWords() ? kAllBits : 0);
    return (other.bitsOfWord(common) & inField & ~bitsOfWord(common)) == 0;
}

bool ZtBitfield::hasIntersection(const ZtBitfield& other) const {
    const unsigned common = std::min(nFullWords(), other.nFullWords());
    return bitkernels::haveCommonBit(words_, other.words_, common) ||
           (bitsOfWord(common) & other.bitsOfWord(common)) != 0;
}
