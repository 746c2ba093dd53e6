// ZtBitfield: a resizable set of bits for masks, selections and separator sets.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>

class ZtString;

/// A row of `nBits()` bits, kept in 32-bit words: bit i is bit i % 32, counted from the least
/// significant one, of word i / 32. A field of n > 0 bits holds n / 32 + 1 words, so that a
/// multiple of 32 bits carries a whole extra word. Bits of the words at and above `nBits()` are not
/// part of the value: comparing, counting and searching pass over them, while whole-word operations
/// and files, as said below, do not.
///
/// Single bits cost a few instructions; counting, searching, comparing and combining run at the
/// speed of memory. Failed allocations throw `ZtMemoryException` and leave the field as it was. May
/// be moved bitwise. A field is used by one thread at a time; reading may be shared.
class ZTLIB_API ZtBitfield {
public:
    /// How the bits that a field gains are set; any other number acts as `INIT_NONE`, which leaves
    /// them as the allocation gives them.
    enum INIT : int { INIT_SET = 0, INIT_CLEAR = 1, INIT_NONE = 2 };

    /// What `toLabels` writes; any other number acts as `INSERT_ALWAYS`.
    enum InsertPolicy : int {
        INSERT_ALWAYS = 0,       ///< the label of every set bit becomes the value
        INSERT_WHERE_EMPTY = 1,  ///< only labels that are 0 do; others win over the value
        INSERT_EXACTLY = 2       ///< as `INSERT_ALWAYS`, and labels of clear bits that equal the
                                 ///< value become 0, so that the value marks the set bits alone
    };

    /// No bits and no words.
    ZtBitfield() = default;
    /// All words set or cleared (see `INIT`); no words when `n` is 0.
    explicit ZtBitfield(unsigned n, int init = INIT_CLEAR);
    ZtBitfield(const ZtBitfield& other);
    ZtBitfield(ZtBitfield&& other) noexcept;
    ZtBitfield& operator=(const ZtBitfield& other);
    ZtBitfield& operator=(ZtBitfield&& other) noexcept;
    ~ZtBitfield();

    /// The number of bits.
    unsigned nBits() const { return nBits_; }
    unsigned size() const { return nBits_; }

    /// The words, null when there are none, and their number.
    unsigned* words() { return words_; }
    const unsigned* words() const { return words_; }
    unsigned nWords() const { return nWords_; }

    /// Bytes of all words.
    unsigned memSize() const { return nWords_ * 4; }

    /// Changes the number of bits. Those below both the old and the new number stay; new ones are
    /// set or cleared (see `INIT`). A field resized to 0 bits holds one word.
    void resize(unsigned n, int init = INIT_CLEAR);

    /// Bit `i` as 0 or 1. Expects i < nBits(), as do the next four.
    unsigned operator[](unsigned i) const {
        ZT_REQUIRE(i < nBits_);
        return words_[i / 32] >> i % 32 & 1u;
    }
    void set(unsigned i) {
        ZT_REQUIRE(i < nBits_);
        words_[i / 32] |= 1u << i % 32;
    }
    void unset(unsigned i) {
        ZT_REQUIRE(i < nBits_);
        words_[i / 32] &= ~(1u << i % 32);
    }
    void toggle(unsigned i) {
        ZT_REQUIRE(i < nBits_);
        words_[i / 32] ^= 1u << i % 32;
    }
    /// Sets bit `i` when `value` is not 0, else clears it.
    void set(unsigned i, int value) { value ? set(i) : unset(i); }

    /// Sets or clears the bits first .. last, both included; nothing when first > last. Bits at and
    /// above nBits() are left alone.
    void setRange(unsigned first, unsigned last);
    void unsetRange(unsigned first, unsigned last);

    /// All words, with the bits above nBits().
    void setAll();
    void unsetAll();
    void clearAll() { unsetAll(); }
    void toggleAll();

    /// How many bits are set, and how many are clear.
    unsigned nSetBits() const;
    unsigned nUnsetBits() const { return nBits_ - nSetBits(); }

    /// The index of the first set, first clear or last set bit; nBits() when there is none.
    unsigned firstSetBit() const;
    unsigned firstUnsetBit() const;
    unsigned lastSetBit() const;

    /// Whether some bit is set, or clear; stops at the first one found.
    bool isAnyBitSet() const { return firstSetBit() != nBits_; }
    bool isAnyBitUnset() const { return firstUnsetBit() != nBits_; }

    /// Combines the words that both fields hold, with the bits above either's nBits(); further
    /// words of this field stay as they are.
    ZtBitfield& operator^=(const ZtBitfield& other);
    ZtBitfield& operator|=(const ZtBitfield& other);
    ZtBitfield& operator&=(const ZtBitfield& other);

    /// Whether the numbers of bits and all bits are equal.
    bool operator==(const ZtBitfield& other) const;
    bool operator!=(const ZtBitfield& other) const { return !(*this == other); }

    /// Whether every bit of `other` below this field's nBits() is set here too; bits that a field
    /// does not have count as clear. A field of 0 bits is a superset of any.
    bool isSuperset(const ZtBitfield& other) const;
    bool isSubset(const ZtBitfield& other) const { return other.isSuperset(*this); }

    /// Whether some bit is set in both.
    bool hasIntersection(const ZtBitfield& other) const;

    /// Becomes `n` bits of which bit i is set where labels[i] equals `value`. Labels are taken in
    /// fours, from index 0 on, and four zeros set nothing even when `value` is 0; the last n % 4
    /// are compared one by one. `labels` may be null when `n` is 0.
    void fromLabels(unsigned n, const unsigned char* labels, unsigned char value);

    /// Writes `value` into those of the `n` labels whose bit is set, as the `InsertPolicy` says;
    /// bits that the field does not have count as clear. `labels` may be null when `n` is 0.
    void toLabels(unsigned n, unsigned char* labels, unsigned char value, int policy) const;

    /// Writes the first (nBits() + 7) / 8 bytes of the words, the least significant byte of each
    /// first and the bits above nBits() as they are, to a new file (the path is UTF-8). False when
    /// it cannot be opened or not all was written.
    bool save(const char* filename) const;

    /// Resizes to `n` bits, new ones clear, then reads (n + 7) / 8 bytes as `save` writes them.
    /// True when all were read; otherwise the bits that were not reached stay as they are.
    bool load(const char* filename, unsigned n);

    /// Replaces the text by one '0' or '1' for each bit, bit 0 first.
    void print(ZtString& string) const;

    /// The MD5 digest of the first nBits() / 32 bytes of the words (bytes, not words: stored
    /// digests depend on it), then, unless the field has 0 bits, of the four bytes of word nBits()
    /// / 32 without the bits above nBits(). As a text: 32 lower-case hexadecimal digits.
    void md5(unsigned char digest[16]) const;
    void md5(ZtString& string) const;

private:
    unsigned nFullWords() const { return nBits_ / 32; }
    unsigned lastBits() const;
    unsigned bitsOfWord(unsigned word) const;

    unsigned nBits_ = 0;
    unsigned nWords_ = 0;
    unsigned* words_ = nullptr;
};
