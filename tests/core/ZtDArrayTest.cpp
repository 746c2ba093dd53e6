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
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
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

template <class T>
class ZtDArrayOf : public testing::Test {};
using ElementTypes = testing::Types<char, int, double, ZtString>;
TYPED_TEST_SUITE(ZtDArrayOf, ElementTypes);

// An array and its model, the keys of its elements and its capacity, are changed alike at random.
TYPED_TEST(ZtDArrayOf, AgreesWithItsModel) {
    using T = TypeParam;
    Random random(1);
    ZtDArray<T> array;
    Keys model;
    int max = 0;
    const auto at = [&](int i) { return model.begin() + i; };
    const auto erase = [&](int from, int to) { model.erase(at(std::max(from, 0)), at(to)); };
    const auto insert = [&](int pos, const Keys& added) {
        const auto size = static_cast<int>(model.size());
        const int needed = size + static_cast<int>(added.size());
        if (needed > max)
            max = std::max(needed, static_cast<int>(size * 1.5));
        model.insert(at(pos), added.begin(), added.end());
    };
    for (int i = 0; i < 12000 && !this->HasFailure(); ++i) {
        SCOPED_TRACE(i);
        if (i % 400 == 0)
            array = ZtDArray<T>(), model.clear(), max = array.getMax();
        const auto n = static_cast<int>(model.size());
        const int key = random.below(12);
        const int a = random.below(n + 1);
        const int b = random.below(n + 1);
        const int first = std::min(a, b);
        const int last = std::max(a, b);
        const int count = last - first;
        const int own = a < n ? *at(a) : key;
        const T element = make<T>(key);
        const std::function<void()> growing[] = {
            [&] {
                EXPECT_EQ(n, array.push(element));
                EXPECT_EQ(n + 1, array.push(a < n ? array[a] : element));
                insert(n, {key});
                insert(n + 1, {own});
            },
            [&] {
                const Keys added(static_cast<std::size_t>(b % 5), key);
                array.insert(a, b % 5, arrayOf<T>(added).dataPtr());
                insert(a, added);
            },
            [&] {  // own elements, which do not straddle the position
                const int places[] = {0, first, last, n};
                const int pos = random.of(places);
                array.insert(pos, count, array.dataPtr() + first);
                insert(pos, Keys(at(first), at(last)));
            },
            [&] { array.appendArray(array), insert(n, Keys(model)); },
            [&] {
                array.join(arrayOf<T>({key, key + 1, key}));
                for (const int other : {key, key + 1})
                    if (std::find(model.begin(), model.end(), other) == model.end())
                        insert(static_cast<int>(model.size()), {other});
            },
            [&] {
                ZtDArray<T> other(array);
                other.push(element);
                array = other;
                insert(n, {key});
            },
            [&] {
                array.sort(compareKeys<T>);
                std::sort(model.begin(), model.end());
                const int found = array.findSorted(element, compareKeys<T>);
                EXPECT_EQ(std::binary_search(model.begin(), model.end(), key), found >= 0);
                EXPECT_TRUE(found < 0 || keyOf(array[found]) == key);
                const auto after = std::upper_bound(model.begin(), model.end(), key);
                const int pos = static_cast<int>(after - model.begin());
                EXPECT_EQ(pos, array.insertSorted(element, compareKeys<T>));
                insert(pos, {key});
            }};
        const std::function<void()> others[] = {
            [&] { array.reverse(), std::reverse(model.begin(), model.end()); },
            [&] {
                array.rotate(a), std::rotate(model.begin(), at(n - a), model.end());
                array.rotate(-b), std::rotate(model.begin(), at(b), model.end());
            },
            [&] {
                if (last < n)
                    array.swap(a, b), std::iter_swap(at(a), at(b));
            },
            [&] {
                ZtDArray<T> moved(std::move(array));
                array.swapWith(moved);
            },
            [&] {
                if (a < n && key < 3)
                    array.fill(array[a]), model.assign(model.size(), own);
            },
            [&] { array.remove(first, count), erase(first, last); },
            [&] { array.removeLast(count), erase(n - count, n); },
            [&] { array.pop_back(), erase(n - 1, n); },
            [&] {
                EXPECT_EQ(a, array.resize(a));
                erase(a, n);
            },
            [&] { array = arrayOf<T>(Keys(at(0), at(a))), erase(a, n); },
            [&] {
                EXPECT_EQ(max - n, array.remax());
                max = n;
            },
            [&] {
                T out = element;
                EXPECT_EQ(n > 0, array.pop(out));
                EXPECT_EQ(n > 0 ? model.back() : key, keyOf(out));
                erase(n - 1, n);
            },
            [&] {
                const auto removed = static_cast<int>(std::erase(model, own));
                EXPECT_EQ(removed, array.removeValue(a < n ? array[a] : element));
            }};
        (n > 60 || random.below(2) ? random.of(others) : random.of(growing))();

        ASSERT_EQ(model, keys(array));
        ASSERT_EQ(max, array.getMax());
        const auto found = std::find(model.begin(), model.end(), key);
        ASSERT_EQ(found == model.end() ? -1 : found - model.begin(), array.index(element));
        const ZtDArray<T> copy(array);
        ASSERT_EQ(array.size(), copy.getMax());
        ASSERT_TRUE(copy == array);
    }
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
    EXPECT_EQ(97, array.appendSpace(-96));
    EXPECT_EQ(0, array.last());
    EXPECT_EQ(INT_MAX, array.appendSpace(INT_MIN));
    EXPECT_EQ(0, array.append(0, nullptr));
    array.insertSpace(0, -1);
    array.removeLast(-2);
    EXPECT_EQ(0, array.resize(-5));

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

    const ZtDArray<int> sorted = arrayOf<int>({2, 4, 8, 16});
    EXPECT_EQ(2, sorted.findSorted(8, compareKeys<int>, -1, 2));
    EXPECT_EQ(0, sorted.findSorted(2, compareKeys<int>, 0, 4));

    // Every kind of integer is an index; those of 64 bits count by their low 32 bits.
    EXPECT_EQ(16, sorted[short{1}] + sorted[1u] + sorted['\1'] + sorted[1L]);
    EXPECT_EQ(20, sorted[std::size_t{1}] + sorted[1LL] + sorted[1ULL] + sorted[(1LL << 32) + 2]);

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
    texts[2] += "two";
    texts.remax(40, 30);
    EXPECT_TRUE(texts[1].isEmptyString() && texts[29].isEmptyString());
    EXPECT_EQ(2, ZtDArray<ZtString>(texts).index("two"));
    ZtDArray<ZtHandle<ZtString>> handles(3);
    handles[1] = new ZtString("kept");
    handles.remove(0, 1);
    EXPECT_STREQ("kept", handles[0]->getString());
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

TEST(ZtDArray, IndicesAreContracts) {
    using Array = ZtDArray<int>;
    void (*const operations[])(Array&) = {
        [](Array& a) { (void)a[-1]; },    [](Array& a) { (void)a[3]; },
        [](Array& a) { (void)a[~0u]; },   [](Array& a) { a.clear(), (void)a.last(); },
        [](Array& a) { a.remove(1, 3); }, [](Array& a) { a.removeLast(4); },
        [](Array& a) { a.insert(4, 1); }, [](Array& a) { a.swap(0, 3); },
        [](Array& a) { a.rotate(4); },    [](Array& a) { a.rotate(INT_MIN); }};
    const ContractCapture capture;
    Array array = arrayOf<int>({1, 2, 3});
    for (auto* operation : operations)
        if (kChecked) {
            Array changed(array);
            EXPECT_THROW(operation(changed), BrokenContract);
        }
    // Where nothing is checked, these stay within the array.
    if (!kChecked) {
        array.rotate(INT_MIN);
        array.rotate(4);
        EXPECT_THAT(keys(array), ElementsAre(1, 2, 3));
        array.remove(2, 2);
        EXPECT_THAT(keys(array), ElementsAre(1));
        array.removeLast(4);
    }
}

struct Tree {  // neither complete where it is named nor equal to anything
    int value;
    ZtDArray<Tree> children;
};

struct Registered {};

}  // namespace

template <>
struct ZtIsRelocatable<Registered> : std::false_type {};

namespace {

TEST(ZtDArray, TakesWhatMovesByItsBytes) {
    static_assert(ZtIsRelocatable<std::vector<int>>::value && ZtIsRelocatable<Tree>::value);
    static_assert(!ZtIsRelocatable<std::string>::value && !ZtIsRelocatable<std::list<int>>::value);
    static_assert(!ZtIsRelocatable<std::pair<int, std::string>>::value);
    static_assert(!ZtIsRelocatable<std::string[2]>::value && !ZtIsRelocatable<Registered>::value);
    static_assert(sizeof(ZtDArray<double>) == 2 * sizeof(int) + sizeof(void*));

    Tree root{1, {}};
    root.children.push(Tree{2, {}});
    root.children.push(root);
    EXPECT_EQ(2, root.children[1].children[0].value);
}

}  // namespace
