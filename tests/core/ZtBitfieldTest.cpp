// Bit fields against vectors of bools, and what the words, files and digests hold.
#include <gtest/gtest.h>
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "Random.h"
#include "ScratchFolder.h"

namespace {

using Model = std::vector<bool>;
using Bytes = std::vector<unsigned char>;

// Sizes around the words, the vectors (256 bits) and the strides (1024 and 4096 bits) of the loops.
const unsigned kSizes[] = {0,   1,   31,  32,   33,   64,   100,  255,  256,
                           257, 512, 999, 1023, 1024, 4095, 4096, 4128, 9000};

std::string text(const ZtBitfield& bits) {
    ZtString string("before");
    bits.print(string);
    return string.getString();
}

std::string text(const Model& model) {
    std::string result;
    for (bool bit : model)
        result += bit ? '1' : '0';
    return result;
}

ZtBitfield fieldOf(const std::string& digits, int beyond = ZtBitfield::INIT_CLEAR) {
    ZtBitfield bits(static_cast<unsigned>(digits.size()), beyond);
    for (unsigned i = 0; i < bits.nBits(); ++i)
        bits.set(i, digits[i] == '1');
    return bits;
}

// A field and its model, changed alike.
struct Pair {
    // At random, `density` of 256 bits set, and one value for all bits of the words beyond.
    Pair(Random& random, unsigned n, unsigned density) : model(n), beyond(random.below(2) != 0) {
        bits = ZtBitfield(n, beyond ? ZtBitfield::INIT_SET : ZtBitfield::INIT_CLEAR);
        for (unsigned i = 0; i < n; ++i) {
            model[i] = random.bits() % 256 < density;
            bits.set(i, model[i]);
        }
    }

    ZtBitfield bits;
    Model model;
    bool beyond;
};

void expectQueriesAgree(const ZtBitfield& bits, const Model& model) {
    const auto n = static_cast<unsigned>(model.size());
    const auto indexOf = [&](auto found) { return static_cast<unsigned>(found - model.begin()); };
    const auto nSet = static_cast<unsigned>(std::count(model.begin(), model.end(), true));
    ASSERT_EQ(text(model), text(bits));
    EXPECT_EQ(nSet, bits.nSetBits());
    EXPECT_EQ(n - nSet, bits.nUnsetBits());
    EXPECT_EQ(indexOf(std::find(model.begin(), model.end(), true)), bits.firstSetBit());
    EXPECT_EQ(indexOf(std::find(model.begin(), model.end(), false)), bits.firstUnsetBit());
    const auto last = std::find(model.rbegin(), model.rend(), true);
    EXPECT_EQ(last == model.rend() ? n : indexOf(last.base()) - 1, bits.lastSetBit());
    EXPECT_EQ(nSet > 0, bits.isAnyBitSet());
    EXPECT_EQ(nSet < n, bits.isAnyBitUnset());
}

TEST(Bitfield, RandomOperationsAgreeWithTheModel) {
    Random random(20240501);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        auto [bits, model, _] = Pair(random, random.of(kSizes), 128);
        for (int step = 0; step < 12 && !HasFailure(); ++step) {
            const unsigned n = bits.nBits();
            const unsigned size = random.of(kSizes) + random.bits() % 3;
            const unsigned i = n > 0 ? random.bits() % n : 0;
            const unsigned last = n > 0 ? i + random.bits() % (n - i) : 0;
            const bool value = random.below(2) != 0;
            const auto from = model.begin() + static_cast<std::ptrdiff_t>(i);
            const auto to = model.begin() + static_cast<std::ptrdiff_t>(std::min(last + 1, n));
            const std::function<void()> operations[] = {
                [&] {
                    bits.resize(size, value ? ZtBitfield::INIT_SET : ZtBitfield::INIT_CLEAR);
                    model.resize(size, value);
                    EXPECT_EQ(4 * (size / 32 + 1), bits.memSize());
                },
                [&] { bits.clearAll(), model.assign(n, false); },
                [&] { bits.toggleAll(), model.flip(); },
                [&] { bits.setRange(i, last), std::fill(from, to, true); },
                [&] { bits.unsetRange(i, last), std::fill(from, to, false); },
                [&] { n > 0 ? (bits.toggle(i), *from = !*from) : false; },
                [&] {  // a lone bit among others
                    value ? bits.unsetAll() : bits.setAll();
                    model.assign(n, !value);
                    n > 0 ? (value ? bits.set(i) : bits.unset(i), *from = value) : false;
                },
                [&] {
                    ZtBitfield other(size, ZtBitfield::INIT_SET);
                    other = bits;
                    EXPECT_EQ(bits.memSize(), other.memSize());
                    ZtBitfield moved(std::move(other));
                    bits = std::move(moved);
                    bits = *&bits;
                    bits = ZtBitfield(bits);
                }};
            random.of(operations)();
            expectQueriesAgree(bits, model);
        }
    }
}

TEST(Bitfield, SetAlgebraAgreesWithTheModel) {
    Random random(7);
    for (int round = 0; round < 1500; ++round) {
        const unsigned n = random.of(kSizes);
        const unsigned m = random.below(2) ? n : random.of(kSizes);
        SCOPED_TRACE(std::to_string(round) + ": " + std::to_string(n) + ", " + std::to_string(m));
        Pair a(random, n, random.below(2) ? 250 : 3);
        const Pair b(random, m, random.below(2) ? 128 : 2);
        const auto inB = [&](unsigned i) { return i < m && b.model[i]; };
        const bool isOftenSubset = random.below(2) != 0;
        bool superset = true, common = false;
        for (unsigned i = 0; i < n; ++i) {
            if (isOftenSubset && inB(i))
                a.model[i] = true, a.bits.set(i);
            superset = superset && (a.model[i] || !inB(i));
            common = common || (a.model[i] && inB(i));
        }
        EXPECT_EQ(superset, a.bits.isSuperset(b.bits));
        EXPECT_EQ(superset, b.bits.isSubset(a.bits));
        EXPECT_EQ(common, a.bits.hasIntersection(b.bits));
        EXPECT_EQ(common, b.bits.hasIntersection(a.bits));
        EXPECT_EQ(a.model == b.model, a.bits == b.bits);

        // Combining is word by word over the words that both hold: the other's bits beyond its end
        // take part, further words of this field stay.
        const int operation = random.below(3);
        for (unsigned i = 0; i < std::min(n, b.bits.memSize() * 8); ++i) {
            const bool left = a.model[i];
            const bool right = i < m ? b.model[i] : b.beyond;
            const bool results[] = {left != right, left || right, left && right};
            a.model[i] = results[operation];
        }
        operation == 0 ? a.bits ^= b.bits : operation == 1 ? a.bits |= b.bits : a.bits &= b.bits;
        expectQueriesAgree(a.bits, a.model);
        a.bits ^= a.bits;
        EXPECT_FALSE(a.bits.isAnyBitSet());
    }
}

TEST(Bitfield, EdgesOfFieldsAndRanges) {
    EXPECT_EQ(0u, ZtBitfield(0).memSize());
    ZtBitfield none;
    none.resize(0);
    EXPECT_EQ(4u, none.memSize());
    EXPECT_TRUE(none == ZtBitfield());
    EXPECT_FALSE(none != ZtBitfield());
    EXPECT_TRUE(none.isSuperset(ZtBitfield(5, ZtBitfield::INIT_SET)));
    none.setRange(0, 7);
    // Ranges beyond the field or turned round touch nothing else.
    ZtBitfield bits(40);
    bits.setRange(9, 8);
    bits.setRange(40, 0xffffffffu);
    EXPECT_FALSE(bits.isAnyBitSet());
    bits.setRange(38, 0xffffffffu);
    EXPECT_EQ(std::string(38, '0') + "11", text(bits));
    bits.unsetRange(0, 0xffffffffu);
    EXPECT_FALSE(bits.isAnyBitSet());
    const ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(bits[40], BrokenContract);
        EXPECT_THROW(bits.set(40), BrokenContract);
    }
}

TEST(Bitfield, LabelsAgreeWithTheModel) {
    Random random(11);
    for (unsigned n = 0; n < 150; ++n)
        for (const unsigned char value : Bytes{0, 1, 128, 255}) {
            SCOPED_TRACE(std::to_string(n) + " labels, value " + std::to_string(value));
            const unsigned char some[] = {0, 0, 0, value, static_cast<unsigned char>(n)};
            Bytes labels(n);
            for (unsigned char& label : labels)
                label = random.of(some);
            Model equal(n);
            // The field may be shorter than the labels, and its words are set beyond it.
            const Pair field(random, random.below(2) ? n : n / 2, n % 2 ? 128 : 255);
            Bytes expected[] = {labels, labels, labels};  // by the policy
            for (unsigned i = 0; i < n; ++i) {
                const unsigned char* const group = labels.data() + i / 4 * 4;
                const bool skipped = i / 4 * 4 + 4 <= n && std::count(group, group + 4, 0) == 4;
                equal[i] = !skipped && labels[i] == value;
                const bool bit = i < field.model.size() && field.model[i];
                if (bit)
                    expected[ZtBitfield::INSERT_ALWAYS][i] = value;
                if (bit && labels[i] == 0)
                    expected[ZtBitfield::INSERT_WHERE_EMPTY][i] = value;
                if (bit || labels[i] == value)
                    expected[ZtBitfield::INSERT_EXACTLY][i] = bit ? value : 0;
            }
            ZtBitfield bits(200, ZtBitfield::INIT_SET);
            bits.fromLabels(n, labels.data(), value);
            ASSERT_EQ(text(equal), text(bits));
            EXPECT_EQ(n / 32 * 4 + 4, bits.memSize());
            for (int policy : {0, 1, 2, 99}) {
                Bytes written = labels;
                field.bits.toLabels(n, written.data(), value, policy);
                ASSERT_EQ(expected[policy % 99], written) << policy;
            }
        }
}

TEST(Bitfield, FilesHoldTheBytesOfTheWordsUnmasked) {
    const ScratchFolder folder;
    const std::string path = folder.of("") + "bits-\u00e9";
    const char* const name = path.c_str();
    const auto read = [&] { return folder.read("bits-\u00e9"); };
    EXPECT_TRUE(ZtBitfield(10, ZtBitfield::INIT_SET).save(name));
    EXPECT_EQ("\xff\xff", read());
    for (const char* refused : {"/nowhere/at/all", "/dev/full", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(ZtBitfield(9).save(refused)) << "no room, or no such file either";
    Random random(13);
    for (unsigned n : {0u, 1u, 8u, 33u, 4096u * 8, 4096u * 8 + 1}) {
        const Pair pair(random, n, 128);
        ASSERT_TRUE(pair.bits.save(name));
        EXPECT_EQ((n + 7) / 8, read().size());
        ZtBitfield bits;
        EXPECT_TRUE(bits.load(name, n));
        expectQueriesAgree(bits, pair.model);
    }
    // A failed load keeps the bits that it did not reach.
    ZtBitfield bits = fieldOf("1111");
    EXPECT_FALSE(bits.load((path + "?").c_str(), 6)) << "there is no such file";
    EXPECT_FALSE(bits.load(nullptr, 6));
    EXPECT_EQ("111100", text(bits));
    folder.addFile("bits-\u00e9", "\x02");
    EXPECT_FALSE(bits.load(name, 10));
    EXPECT_EQ("0100000000", text(bits));
    folder.addFile("bits-\u00e9", "\x02\x01\xff\x80\x01");
    bits = ZtBitfield(50, ZtBitfield::INIT_SET);
    EXPECT_FALSE(bits.load(name, 60));
    EXPECT_EQ(
        "0100000010000000111111110000000110000000" + std::string(10, '1') + std::string(10, '0'),
        text(bits));
    EXPECT_TRUE(bits.load(name, 12));
    EXPECT_EQ("010000001000", text(bits));
}

TEST(Bitfield, DigestTakesAByteForEachFullWordAndTheLastWord) {
    // The digests are those of the bytes named on the right, computed by another program.
    ZtBitfield counting(32 * 5 + 3, ZtBitfield::INIT_SET);
    for (unsigned i = 0; i < 32 * 5; ++i)
        counting.set(i, i < 64 && (0x04030201u >> i % 32 & 1u) != 0);
    const std::pair<ZtBitfield, const char*> rows[] = {
        {ZtBitfield(), "d41d8cd98f00b204e9800998ecf8427e"},                          // nothing
        {ZtBitfield(10, ZtBitfield::INIT_SET), "f5b52b16d58f31e24c53d6e3fbca16ec"},  // ff 03 00 00
        {ZtBitfield(32, ZtBitfield::INIT_SET),
         "22d4f4bef6981e0861c9f36ce14226e9"},            // ff, then 00 00 00 00
        {counting, "db35aa6f4419a16986e3ec9e56ca3512"},  // 01 02 03 04 01, then 07 00 00 00
    };
    for (const auto& [bits, digits] : rows) {
        ZtString string;
        bits.md5(string);
        EXPECT_STREQ(digits, string.getString()) << bits.nBits();
        unsigned char digest[16];
        bits.md5(digest);
        EXPECT_EQ(std::stoi(digits + 30, nullptr, 16), digest[15]);
    }
}

}  // namespace
