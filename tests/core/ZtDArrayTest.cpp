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
#include <functional>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "FailEveryAllocation.h"
#include "Random.h"

namespace {

using testing::ElementsAre;

using Keys = std::vector<int>;

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
Keys keys(const ZtDArray<T>& array) {
    Keys result;
    for (const T& element : array)
        result.push_back(keyOf(element));
    return result;
}

template <class T>
ZtDArray<T> arrayOf(const Keys& keys) {
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
        const int key = random_.below(kKeys);
        const int a = random_.below(n + 1);
        const int b = random_.below(n + 1);
        const int first = std::min(a, b);
        const int last = std::max(a, b);
        const int count = last - first;
        const bool areIndices = last < n;
        const int own = a < n ? *at(a) : key;
        const T element = make<T>(key);
        const std::function<void()> growing[] = {
            [&] {
                EXPECT_EQ(n, array_.push(element));
                EXPECT_EQ(n + 1, array_.push(a < n ? array_[a] : element));
                insert(n, {key});
                insert(n + 1, {own});
            },
            [&] {
                const Keys added(static_cast<std::size_t>(b % 5), key);
                array_.insert(a, b % 5, arrayOf<T>(added).dataPtr());
                insert(a, added);
            },
            [&] {  // own elements, which do not straddle the position
                const int places[] = {0, first, last, n};
                const int pos = random_.of(places);
                array_.insert(pos, count, array_.dataPtr() + first);
                insert(pos, Keys(at(first), at(last)));
            },
            [&] {
                n > 20 ? array_.insertArray(0, array_) : (void)array_.appendArray(array_);
                insert(n, Keys(model_));
            },
            [&] {
                array_.join(arrayOf<T>({key, key + 1, key}));
                array_.join(array_);
                for (const int other : {key, key + 1})
                    if (std::find(model_.begin(), model_.end(), other) == model_.end())
                        insert(size(), {other});
            },
            [&] {
                ZtDArray<T> other(array_);
                other.push(element);
                array_ = other;
                insert(n, {key});
            },
            [&] {
                array_.sort(compareKeys<T>);
                std::sort(model_.begin(), model_.end());
                const int found = array_.findSorted(element, compareKeys<T>);
                EXPECT_EQ(std::binary_search(model_.begin(), model_.end(), key), found >= 0);
                EXPECT_TRUE(found < 0 || keyOf(array_[found]) == key);
                const auto after = std::upper_bound(model_.begin(), model_.end(), key);
                const int pos = static_cast<int>(after - model_.begin());
                EXPECT_EQ(pos, array_.insertSorted(element, compareKeys<T>));
                insert(pos, {key});
            }};
        const std::function<void()> rearranging[] = {
            [&] { array_.reverse(), std::reverse(model_.begin(), model_.end()); },
            [&] {
                array_.rotate(a), std::rotate(model_.begin(), at(n - a), model_.end());
                array_.rotate(-b), std::rotate(model_.begin(), at(b), model_.end());
            },
            [&] {
                if (areIndices)
                    array_.swap(a, b), std::iter_swap(at(a), at(b));
            },
            [&] {
                ZtDArray<T> moved(std::move(array_));
                array_.swapWith(moved);
            },
            [&] {
                T* const buffer = array_.dataPtr();
                array_.release();
                EXPECT_EQ(0, array_.getMax());
                array_.setRawData(n, buffer);
                max_ = n;
            },
            [&] {
                if (areIndices && key == 0)
                    array_.fill(array_[a]), model_.assign(model_.size(), own);
            }};
        const std::function<void()> shrinking[] = {
            [&] { array_.remove(first, count), erase(first, last); },
            [&] { array_.removeLast(count), erase(n - count, n); },
            [&] { array_.pop_back(), erase(n - 1, n); },
            [&] {
                EXPECT_EQ(a, array_.resize(a));
                erase(a, n);
            },
            [&] { array_ = arrayOf<T>(Keys(at(0), at(a))), erase(a, n); },
            [&] {
                EXPECT_EQ(max_ - n, array_.remax());
                max_ = n;
            },
            [&] {
                T out = element;
                EXPECT_EQ(n > 0, array_.pop(out));
                EXPECT_EQ(n > 0 ? model_.back() : key, keyOf(out));
                erase(n - 1, n);
            },
            [&] {
                const auto removed = std::erase(model_, own);
                EXPECT_EQ(removed, static_cast<std::size_t>(
                                       array_.removeValue(a < n ? array_[a] : element)));
            }};
        const int kind = n > 60 ? 0 : random_.below(10);
        (kind < 3   ? random_.of(shrinking)
         : kind < 6 ? random_.of(rearranging)
                    : random_.of(growing))();
    }

    void check() {
        ASSERT_EQ(model_, keys(array_));
        ASSERT_EQ(max_, array_.getMax());
        ASSERT_EQ(size(), array_.size());
        const int key = random_.below(kKeys);
        const auto found = std::find(model_.begin(), model_.end(), key);
        ASSERT_EQ(found == model_.end() ? -1 : found - model_.begin(), array_.index(make<T>(key)));
        const ZtDArray<T> copy(array_);
        ASSERT_EQ(array_.size(), copy.getMax());
        ASSERT_TRUE(copy == array_);
    }

private:
    static constexpr int kKeys = 12;

    int size() const { return static_cast<int>(model_.size()); }
    auto at(int i) { return model_.begin() + i; }

    void insert(int pos, const Keys& added) {
        const int needed = size() + static_cast<int>(added.size());
        if (needed > max_)
            max_ = std::max(needed, static_cast<int>(size() * 1.5));
        model_.insert(at(pos), added.begin(), added.end());
    }
    void erase(int from, int to) { model_.erase(at(std::max(from, 0)), at(to)); }

    Random random_;
    ZtDArray<T> array_;
    Keys model_;
    int max_ = 0;
};

template <class T>
class ZtDArrayOf : public testing::Test {};
using ElementTypes = testing::Types<char, int, double, ZtString>;
TYPED_TEST_SUITE(ZtDArrayOf, ElementTypes);

TYPED_TEST(ZtDArrayOf, AgreesWithItsModel) {
    const AllocationWatch watch;
    for (unsigned seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Twins<TypeParam> twins(seed);
        for (int i = 0; i < 400 && !this->HasFailure(); ++i) {
            twins.step();
            twins.check();
        }
    }
    EXPECT_EQ(0, watch.liveBlocks());
}

TEST(ZtDArray, SizesAndCapacitiesFollowTheirArguments) {
    ZtDArray<int> array;
    Keys capacities;
    for (int i = 0; i < 90; ++i) {
        array.push(i);
        if (capacities.empty() || capacities.back() != array.getMax())
            capacities.push_back(array.getMax());
    }
    EXPECT_THAT(capacities, ElementsAre(1, 2, 3, 4, 6, 9, 13, 19, 28, 42, 63, 94));
    array.resize(10);  // the size counts, not the capacity
    array.resize(95);
    EXPECT_EQ(95, array.getMax());
    EXPECT_EQ(95, array.appendSpace(2));
    EXPECT_EQ(142, array.getMax());

    array = arrayOf<int>({1, 2, 3});
    EXPECT_EQ(0, ZtDArray<int>(array).resize(-5));
    EXPECT_EQ(3, array.appendSpace(-2));
    EXPECT_THAT(keys(array), ElementsAre(1));
    EXPECT_EQ(INT_MAX, array.appendSpace(INT_MIN));
    EXPECT_EQ(0, array.append(0, nullptr));
    array.insertSpace(0, -1);
    array.remove(0, 0);
    array.removeLast(-2);
    EXPECT_EQ(0, array.size());

    ZtDArray<int> wide;
    wide.setRawData(3, nullptr);
    EXPECT_EQ(-22, wide.remax(22, 16));
    EXPECT_EQ(6, wide.remax(-1, 5));  // -1 is the old size
    EXPECT_EQ(16, wide.getMax());
    EXPECT_EQ(5, wide.size());
    EXPECT_EQ(16, wide.remax(0, 0));
    EXPECT_EQ(nullptr, wide.dataPtr());
    EXPECT_TRUE(wide == ZtDArray<int>(0, 7));
    EXPECT_EQ(7, ZtDArray<int>(4, 7).getMax());
    EXPECT_EQ(4 * sizeof(int), ZtDArray<int>(4).dataSizeInBytes());

    // A source that straddles the position is taken as it lies: safe, with any value past it.
    ZtDArray<ZtString> texts = arrayOf<ZtString>({1, 2});
    texts.insertArray(1, texts);
    EXPECT_THAT(keys(texts), ElementsAre(1, 1, testing::_, 2));
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
    const auto compare = compareKeys<int>;
    const ZtDArray<int> array = arrayOf<int>({2, 4, 8, 16});
    EXPECT_EQ(2, array.findSorted(8, compare, -1, 2));
    EXPECT_EQ(0, array.findSorted(2, compare, 0, 4));
    EXPECT_EQ(1, array.findSorted(4, compare, 1, 3));
    EXPECT_EQ(-1, array.findSorted(1, compare));
    EXPECT_EQ(-1, array.findSorted(17, compare));
    EXPECT_EQ(-1, ZtDArray<int>().findSorted(1, compare));
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
    const Array more = arrayOf<ZtString>({5, 6, 7, 8, 9});
    const ZtString text = make<ZtString>(5);
    const auto make = [] { return Array(arrayOf<ZtString>({1, 2, 3, 4})); };
    const std::function<void(Array&)> operations[] = {
        [&](Array& a) { a.push(text); },
        [](Array& a) { a.push(a[1]); },
        [&](Array& a) { a.insert(1, 5, more); },
        [](Array& a) { a.insertArray(2, a); },
        [&](Array& a) { a.insertSorted(text, compareKeys<ZtString>); },
        [&](Array& a) { a.appendArray(more); },
        [&](Array& a) { a.join(more); },
        [](Array& a) { a.insertSpace(1, 9); },
        [](Array& a) { a.appendSpace(9); },
        [](Array& a) { a.resize(99); },
        [](Array& a) { a.remax(99); },
        [](Array& a) { a.rotate(1); },
        [](Array& a) { a.removeValue(a[0]); },
        [](Array& a) { Array copy(a); },
    };
    for (const auto& operation : operations) {
        SCOPED_TRACE(&operation - operations);
        failEveryAllocation(make, operation,
                            [](const Array& a) { EXPECT_THAT(keys(a), ElementsAre(1, 2, 3, 4)); });
    }
    // An assignment may have changed what it reached.
    failEveryAllocation(
        make, [&](Array& a) { a = more; },
        [](const Array& a) { EXPECT_TRUE(a.size() <= 5 && a.isConsistent()); });
}

TEST(ZtDArray, IndicesAreContracts) {
    using Array = ZtDArray<int>;
    const std::pair<const char*, std::function<void(Array&)>> operations[] = {
        {"index below 0", [](Array& a) { (void)a[-1]; }},
        {"index at the size", [](Array& a) { (void)a[a.size()]; }},
        {"unsigned index", [](Array& a) { (void)a[~0u]; }},
        {"last of none", [](Array& a) { a.clear(), (void)a.last(); }},
        {"remove", [](Array& a) { a.remove(1, 3); }},
        {"removeLast", [](Array& a) { a.removeLast(4); }},
        {"insert", [](Array& a) { a.insert(4, 1); }},
        {"swap", [](Array& a) { a.swap(0, 3); }},
        {"rotate", [](Array& a) { a.rotate(4); }},
        {"rotate by the least number", [](Array& a) { a.rotate(INT_MIN); }},
    };
    ContractCapture capture;
    for (const auto& [name, operation] : operations) {
        Array array = arrayOf<int>({1, 2, 3});
        if (kChecked) {
            EXPECT_THROW(operation(array), BrokenContract) << name;
        }
    }
    // Where nothing is checked, these stay within the array.
    Array array = arrayOf<int>({1, 2, 3});
    if (!kChecked) {
        array.rotate(INT_MIN);
        array.rotate(4);
        EXPECT_THAT(keys(array), ElementsAre(1, 2, 3));
        array.remove(2, 2);
        EXPECT_THAT(keys(array), ElementsAre(1));
        array.removeLast(4);
    }
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
