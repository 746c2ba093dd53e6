// The growable array against a model, its growth, its safety, and what it refuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "FailEveryAllocation.h"

namespace {

using testing::ElementsAre;

/// An element with heap data of its own that counts its instances.
class Owner {
public:
    explicit Owner(int key) : key_(new int(key)) { ++instances; }
    Owner(const Owner& other) : Owner(*other.key_) {}
    Owner& operator=(const Owner& other) {
        *key_ = *other.key_;
        return *this;
    }
    ~Owner() {
        delete key_;
        --instances;
    }
    bool operator==(const Owner& other) const { return *key_ == *other.key_; }
    explicit operator int() const { return *key_; }

    inline static int instances = 0;

private:
    int* key_;
};

template <class T>
T make(int key) {
    if constexpr (std::is_same_v<T, ZtString>)
        return ZtString(0, "%d is too long a text to be short", key);
    else
        return static_cast<T>(static_cast<char>(key));
}

template <class T>
int keyOf(const T& element) {
    if constexpr (std::is_same_v<T, ZtString>)
        return static_cast<int>(element.toInt64());
    else
        return static_cast<int>(element);
}

template <class T>
int compareKeys(const T& a, const T& b) {
    return keyOf(a) - keyOf(b);
}

template <class T>
std::vector<int> keys(const ZtDArray<T>& array) {
    std::vector<int> result;
    for (const T& element : array)
        result.push_back(keyOf(element));
    return result;
}

template <class T>
ZtDArray<T> arrayOf(const std::vector<int>& keys) {
    ZtDArray<T> array;
    for (const int key : keys)
        array.push(make<T>(key));
    return array;
}

/// An array and its model, the keys of its elements and its capacity, changed alike at random.
template <class T>
class Twins {
public:
    explicit Twins(unsigned seed) : random_(seed) {}

    void step() {
        const int n = size();
        const int kind = below(10);
        if (n > 60 || kind < 3)
            shrink(n);
        else if (kind < 6)
            rearrange(n);
        else
            grow(n);
    }

    void check() {
        ASSERT_EQ(model_, keys(array_));
        ASSERT_EQ(max_, array_.getMax());
        ASSERT_EQ(static_cast<int>(model_.size()), array_.size());
        const int key = below(kKeys);
        const auto found = std::find(model_.begin(), model_.end(), key);
        ASSERT_EQ(found == model_.end() ? -1 : found - model_.begin(), array_.index(make<T>(key)));
        const ZtDArray<T> copy(array_);
        ASSERT_EQ(array_.size(), copy.getMax());
        ASSERT_TRUE(copy == array_);
    }

private:
    static constexpr int kKeys = 12;

    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
    int size() const { return static_cast<int>(model_.size()); }
    auto at(int i) { return model_.begin() + i; }

    void growModel(int needed) {
        if (needed > max_)
            max_ = std::max(needed, static_cast<int>(size() * 1.5));
    }
    void insertInModel(int pos, const std::vector<int>& added) {
        growModel(size() + static_cast<int>(added.size()));
        model_.insert(at(pos), added.begin(), added.end());
    }
    void eraseFromModel(int from, int to) { model_.erase(at(std::max(from, 0)), at(to)); }

    void grow(int n) {
        const int pos = below(n + 1);
        const int key = below(kKeys);
        switch (below(8)) {
            case 0:
                EXPECT_EQ(n, array_.push(make<T>(key)));
                return insertInModel(n, {key});
            case 1: {
                const std::vector<int> added(static_cast<std::size_t>(below(5)), key);
                const ZtDArray<T> run = arrayOf<T>(added);
                array_.insert(pos, run.size(), run.dataPtr());
                return insertInModel(pos, added);
            }
            case 2: {  // own elements, which do not straddle the position
                const int first = below(n + 1);
                const int end = first < pos ? pos : n;
                const int count = below(end - first + 1);
                const std::vector<int> added(at(first), at(first + count));
                array_.insert(pos, count, array_.dataPtr() + first);
                return insertInModel(pos, added);
            }
            case 3:
                if (n == 0)
                    return;
                EXPECT_EQ(n, array_.push(array_[pos % n]));
                return insertInModel(n, {model_[static_cast<std::size_t>(pos % n)]});
            case 4: {
                const std::vector<int> added = model_;
                if (below(2) == 0)
                    EXPECT_EQ(n, array_.appendArray(array_));
                else
                    array_.insertArray(0, array_);
                return insertInModel(n, added);
            }
            case 5: {
                array_.join(arrayOf<T>({key, key + 1, key}));
                array_.join(array_);
                for (const int other : {key, key + 1})
                    if (std::find(model_.begin(), model_.end(), other) == model_.end())
                        insertInModel(size(), {other});
                return;
            }
            case 6: {
                ZtDArray<T> other(array_);
                other.push(make<T>(key));
                array_ = other;
                growModel(n + 1);
                return model_.push_back(key);
            }
            default: {
                array_.sort(compareKeys<T>);
                std::sort(model_.begin(), model_.end());
                const auto after = std::upper_bound(model_.begin(), model_.end(), key);
                const int found = array_.findSorted(make<T>(key), compareKeys<T>);
                EXPECT_EQ(std::binary_search(model_.begin(), model_.end(), key), found >= 0);
                EXPECT_TRUE(found < 0 || keyOf(array_[found]) == key);
                EXPECT_EQ(after - model_.begin(),
                          array_.insertSorted(make<T>(key), compareKeys<T>));
                return insertInModel(static_cast<int>(after - model_.begin()), {key});
            }
        }
    }

    void rearrange(int n) {
        const int pos = below(n + 1);
        const int other = below(n + 1);
        switch (below(6)) {
            case 0:
                array_.reverse();
                return std::reverse(model_.begin(), model_.end());
            case 1:
                array_.rotate(pos);
                std::rotate(model_.begin(), at(n - pos), model_.end());
                array_.rotate(-other);
                std::rotate(model_.begin(), at(other), model_.end());
                return;
            case 2:
                if (pos == n || other == n)
                    return;
                array_.swap(pos, other);
                return std::iter_swap(at(pos), at(other));
            case 3: {
                ZtDArray<T> taken;
                taken.swapWith(array_);
                EXPECT_EQ(0, array_.getMax());
                ZtDArray<T> moved(std::move(taken));
                return array_.swapWith(moved);
            }
            case 4: {
                T* const buffer = array_.dataPtr();
                array_.release();
                array_.setRawData(n, buffer);
                max_ = n;
                return;
            }
            default:
                if (pos == n || below(4) > 0)
                    return;
                array_.fill(array_[pos]);
                return model_.assign(model_.size(), *at(pos));
        }
    }

    void shrink(int n) {
        const int pos = below(n + 1);
        const int count = below(n - pos + 1);
        const int key = below(kKeys);
        switch (below(8)) {
            case 0:
                array_.remove(pos, count);
                return eraseFromModel(pos, pos + count);
            case 1:
                array_.removeLast(count);
                return eraseFromModel(n - count, n);
            case 2: {
                T out = make<T>(key);
                EXPECT_EQ(n > 0, array_.pop(out));
                EXPECT_EQ(n > 0 ? model_.back() : key, keyOf(out));
                return eraseFromModel(n - 1, n);
            }
            case 3:
                array_.pop_back();
                return eraseFromModel(n - 1, n);
            case 4: {
                const bool isOwn = pos < n;
                const int value = isOwn ? *at(pos) : key;
                const auto kept = std::remove(model_.begin(), model_.end(), value);
                EXPECT_EQ(model_.end() - kept, isOwn ? array_.removeValue(array_[pos])
                                                     : array_.removeValue(make<T>(key)));
                model_.erase(kept, model_.end());
                return;
            }
            case 5:
                EXPECT_EQ(pos, array_.resize(pos));
                return eraseFromModel(pos, n);
            case 6:
                array_ = arrayOf<T>(std::vector<int>(at(0), at(pos)));
                return eraseFromModel(pos, n);
            default:
                EXPECT_EQ(max_ - n, array_.remax());
                max_ = n;
        }
    }

    std::mt19937 random_;
    ZtDArray<T> array_;
    std::vector<int> model_;
    int max_ = 0;
};

template <class T>
class ZtDArrayOf : public testing::Test {};
using ElementTypes = testing::Types<char, int, double, Owner, ZtString>;
TYPED_TEST_SUITE(ZtDArrayOf, ElementTypes);

TYPED_TEST(ZtDArrayOf, AgreesWithItsModel) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        Twins<TypeParam> twins(seed);
        for (int i = 0; i < 400 && !this->HasFailure(); ++i) {
            twins.step();
            twins.check();
        }
    }
    EXPECT_EQ(0, Owner::instances);
}

TEST(ZtDArray, GrowsToOneAndAHalfTimesTheSize) {
    ZtDArray<int> array;
    std::vector<int> capacities;
    for (int i = 0; i < 90; ++i) {
        array.push(i);
        if (capacities.empty() || capacities.back() != array.getMax())
            capacities.push_back(array.getMax());
    }
    EXPECT_THAT(capacities, ElementsAre(1, 2, 3, 4, 6, 9, 13, 19, 28, 42, 63, 94));
    // The size counts, not the capacity.
    array.resize(10);
    EXPECT_EQ(94, array.getMax());
    array.resize(95);
    EXPECT_EQ(95, array.getMax());
    EXPECT_EQ(95, array.appendSpace(2));
    EXPECT_EQ(142, array.getMax());
}

TEST(ZtDArray, SizesAndCapacitiesFollowTheirArguments) {
    ZtDArray<int> array = arrayOf<int>({1, 2, 3});
    EXPECT_EQ(0, ZtDArray<int>(arrayOf<int>({1, 2})).resize(-5));
    EXPECT_EQ(3, array.appendSpace(-2));
    EXPECT_THAT(keys(array), ElementsAre(1));
    EXPECT_EQ(INT_MAX, array.appendSpace(INT_MIN));
    EXPECT_EQ(0, array.append(0, nullptr));
    array.insertSpace(0, -1);
    array.remove(0, 0);
    array.removeLast(-2);
    EXPECT_EQ(0, array.size());

    ZtDArray<int> wide;
    EXPECT_EQ(-22, wide.remax(22, 16));
    EXPECT_EQ(6, wide.remax(-1, 5));  // -1 is the old size
    EXPECT_EQ(16, wide.getMax());
    EXPECT_EQ(5, wide.size());
    EXPECT_EQ(16, wide.remax(0, 0));
    EXPECT_EQ(nullptr, wide.dataPtr());
    EXPECT_TRUE(wide == ZtDArray<int>(0, 7));
    EXPECT_EQ(7, ZtDArray<int>(4, 7).getMax());
    EXPECT_EQ(4 * sizeof(int), ZtDArray<int>(4).dataSizeInBytes());
}

// A source that straddles the position is taken as it lies: safe, with any value past it.
TEST(ZtDArray, AStraddlingSourceIsSafe) {
    ZtDArray<Owner> array = arrayOf<Owner>({1, 2});
    array.insertArray(1, array);
    EXPECT_THAT(keys(array), ElementsAre(1, 1, testing::_, 2));
}

TEST(ZtDArray, BuffersChangeHands) {
    ZtDArray<ZtString> giver = arrayOf<ZtString>({1, 2});
    ZtDArray<ZtString> taker;
    taker.setRawData(giver.size(), giver.dataPtr());
    giver.release();
    EXPECT_EQ(0, giver.getMax());
    EXPECT_THAT(keys(taker), ElementsAre(1, 2));
    giver.setRawData(3, nullptr);
    EXPECT_EQ(0, giver.push(make<ZtString>(5)));
}

// Raw slots of texts and handles count as empty ones: they can be assigned, used and destroyed.
TEST(ZtDArray, RawSlotsOfClassesAreUsable) {
    ZtDArray<ZtString> texts(2, 8);
    texts.resize(20);
    texts.insertSpace(1, 3);
    texts[1] = "one";
    texts[2] += "two";
    EXPECT_STREQ("two", texts[2].getString());
    EXPECT_STREQ("", texts[22].getString());
    texts.remax(40, 30);
    EXPECT_STREQ("one", texts[1].getString());
    EXPECT_TRUE(texts[29].isEmptyString());
    const ZtDArray<ZtString> copy(texts);
    EXPECT_EQ(1, copy.index("one"));
    ZtDArray<ZtHandle<ZtString>> handles(3);
    handles[1] = new ZtString("kept");
    handles.remove(0, 1);
    EXPECT_STREQ("kept", handles[0]->getString());
}

TEST(ZtDArray, BisectionLooksAtExplicitBounds) {
    const ZtDArray<int> array = arrayOf<int>({2, 4, 8, 16});
    const auto compare = [](const int& a, const int& b) { return a - b; };
    EXPECT_EQ(2, array.findSorted(8, compare, -1, 2));
    EXPECT_EQ(0, array.findSorted(2, compare, 0, 4));
    EXPECT_EQ(1, array.findSorted(4, compare, 1, 3));
    EXPECT_EQ(-1, array.findSorted(1, compare));
    EXPECT_EQ(-1, array.findSorted(17, compare));
    EXPECT_EQ(-1, ZtDArray<int>().findSorted(1, compare));
    ZtDArray<int> grown = arrayOf<int>({5, 6});
    EXPECT_EQ(0, grown.insertSorted(4, compare));
    EXPECT_EQ(2, grown.insertSorted(5, compare));
    EXPECT_THAT(keys(grown), ElementsAre(4, 5, 5, 6));
}

// More than 31 bits of elements or an address space of bytes is an exhausted memory.
TEST(ZtDArray, SizesThatWouldWrapAreExhaustedMemory) {
    struct Page {
        char bytes[4096];
    };
    ZtDArray<Page> pages;
    EXPECT_THROW(pages.remax(INT_MAX, 0), ZtMemoryException);
    EXPECT_THROW(pages.resize(INT_MAX), ZtMemoryException);
    EXPECT_EQ(0, pages.getMax());

    char* const block = static_cast<char*>(ztmalloc(1));
    *block = 'x';
    ZtDArray<char> full;
    full.setRawData(INT_MAX, block);
    EXPECT_THROW(full.push('y'), ZtMemoryException);
    EXPECT_THROW(full.appendSpace(INT_MAX), ZtMemoryException);
    EXPECT_THROW(full.insertSpace(0, 1), ZtMemoryException);
    EXPECT_THROW(full.appendArray(full), ZtMemoryException);
    full.setRawData(INT_MAX / 3 * 2 + 2, block);  // one element more fits, growth by half does not
    EXPECT_THROW(full.push('y'), ZtMemoryException);
    EXPECT_EQ(block, full.dataPtr());
    full.setRawData(1, block);
    EXPECT_EQ('x', full.last());
}

TEST(ZtDArray, EveryFailedAllocationLeavesItAsItWas) {
    using Array = ZtDArray<ZtString>;
    const ZtDArray<ZtString> more = arrayOf<ZtString>({7, 8, 9});
    const ZtString text = make<ZtString>(5);
    const std::pair<const char*, std::function<void(Array&)>> operations[] = {
        {"push", [&](Array& a) { a.push(text); }},
        {"push of an own element", [](Array& a) { a.push(a[1]); }},
        {"insert", [&](Array& a) { a.insert(1, 3, more); }},
        {"insertArray of itself", [](Array& a) { a.insertArray(2, a); }},
        {"insertSorted", [&](Array& a) { a.insertSorted(text, compareKeys<ZtString>); }},
        {"append", [&](Array& a) { a.appendArray(more); }},
        {"join", [&](Array& a) { a.join(more); }},
        {"insertSpace", [](Array& a) { a.insertSpace(1, 9); }},
        {"appendSpace", [](Array& a) { a.appendSpace(9); }},
        {"resize", [](Array& a) { a.resize(99); }},
        {"remax", [](Array& a) { a.remax(99); }},
        {"rotate", [](Array& a) { a.rotate(1); }},
        {"removeValue", [](Array& a) { a.removeValue(a[0]); }},
        {"copy", [](Array& a) { Array copy(a); }},
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        failEveryAllocation(
            [] {
                return arrayOf<ZtString>({1, 2, 3, 4});
            },
            operation, [](const Array& a) { EXPECT_THAT(keys(a), ElementsAre(1, 2, 3, 4)); });
    }
    SCOPED_TRACE("assignment, which may have changed what it reached");
    failEveryAllocation(
        [] {
            return arrayOf<ZtString>({1, 2});
        },
        [&](Array& a) { a = more; },
        [](const Array& a) { EXPECT_TRUE(a.size() <= 3 && a.isConsistent()); });
}

TEST(ZtDArray, IndicesAreContracts) {
    const std::pair<const char*, std::function<void(ZtDArray<int>&)>> operations[] = {
        {"index below 0", [](ZtDArray<int>& a) { (void)a[-1]; }},
        {"index at the size", [](ZtDArray<int>& a) { (void)a[a.size()]; }},
        {"unsigned index", [](ZtDArray<int>& a) { (void)a[~0u]; }},
        {"last of none", [](ZtDArray<int>& a) { a.clear(), (void)a.last(); }},
        {"remove", [](ZtDArray<int>& a) { a.remove(1, 3); }},
        {"removeLast", [](ZtDArray<int>& a) { a.removeLast(4); }},
        {"insert", [](ZtDArray<int>& a) { a.insert(4, 1); }},
        {"swap", [](ZtDArray<int>& a) { a.swap(0, 3); }},
        {"rotate", [](ZtDArray<int>& a) { a.rotate(4); }},
        {"rotate by the least number", [](ZtDArray<int>& a) { a.rotate(INT_MIN); }},
    };
    ContractCapture capture;
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        ZtDArray<int> array = arrayOf<int>({1, 2, 3});
        if (kChecked) {
            EXPECT_THROW(operation(array), BrokenContract);
        }
    }
    // Where nothing is checked, these stay within the array.
    ZtDArray<int> array = arrayOf<int>({1, 2, 3});
    if (!kChecked) {
        array.rotate(INT_MIN);
        array.rotate(4);
        EXPECT_THAT(keys(array), ElementsAre(1, 2, 3));
        array.remove(2, 2);
        EXPECT_THAT(keys(array), ElementsAre(1));
        array.removeLast(4);
    }
    int out = 5;
    EXPECT_EQ(0, ZtDArray<int>().pop(out));
    EXPECT_EQ(5, out);
}

// 64-bit indices count by their low 32 bits.
TEST(ZtDArray, TakesEveryIntegerAsAnIndex) {
    const ZtDArray<int> array = arrayOf<int>({1, 2, 3});
    EXPECT_EQ(6, array[short{1}] + array[1u] + array['\1']);
    EXPECT_EQ(6, array[std::size_t{1}] + array[std::ptrdiff_t{1}] + array[1L]);
    EXPECT_EQ(4, array[1LL] + array[1ULL]);
    EXPECT_EQ(3, array[(1LL << 32) + 2]);
}

struct Tree {  // neither complete where it is named nor equal to anything
    int value;
    ZtDArray<Tree> children;
};

struct Registered {};
struct HasText {
    std::string text;
};

}  // namespace

template <>
struct ZtIsRelocatable<Registered> : std::false_type {};

namespace {

TEST(ZtDArray, TakesWhatMovesByItsBytes) {
    static_assert(ZtIsRelocatable<int>::value && ZtIsRelocatable<ZtString>::value);
    static_assert(ZtIsRelocatable<ZtHandle<ZtString>>::value &&
                  ZtIsRelocatable<ZtDArray<int>>::value);
    static_assert(ZtIsRelocatable<std::vector<int>>::value && ZtIsRelocatable<Tree>::value);
    static_assert(!ZtIsRelocatable<std::string>::value && !ZtIsRelocatable<std::wstring>::value);
    static_assert(!ZtIsRelocatable<std::map<int, int>>::value);
    static_assert(!ZtIsRelocatable<std::list<int>>::value);
    static_assert(!ZtIsRelocatable<std::pair<int, std::string>>::value);
    static_assert(!ZtIsRelocatable<std::string[2]>::value && !ZtIsRelocatable<Registered>::value);
    static_assert(ZtIsRelocatable<HasText>::value);  // it cannot be known
    static_assert(sizeof(ZtDArray<double>) == 2 * sizeof(int) + sizeof(void*));

    Tree root{1, {}};
    root.children.push(Tree{2, {}});
    root.children.push(root);
    EXPECT_EQ(2, root.children[1].children[0].value);
}

}  // namespace
