// The growable array: the one list type of the library.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtIsRelocatable.h>
#include <ztlib/ZtMemory.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <type_traits>

namespace zt_detail {

/// A buffer and the number of elements it holds.
struct ArrayBuffer {
    /// The block and the number of elements that it has room for.
    void* data;
    int max;
};

/// The part of the array's work that does not depend on the element type. Buffers go in and out by
/// value, so that the compiler may keep a local array in registers.
struct ZTLIB_API ArrayMemory {
    /// Makes room for `needed` elements, more than there are: the capacity becomes the larger of
    /// `needed` and 1.5 x `size`, rounded down. Throws `ZtMemoryException`, and changes nothing,
    /// when memory is exhausted or the capacity beyond what 31 bits number.
    static ArrayBuffer grow(void* data, int size, long long needed, std::size_t elementSize);
    /// The same for one element more, which the caller's loop need not count.
    static ArrayBuffer growByOne(void* data, int size, std::size_t elementSize);

    /// Makes the capacity exactly `newMax`; 0 frees the buffer.
    static ArrayBuffer setMax(void* data, int newMax, std::size_t elementSize);

    /// Moves the last `moved` bytes of a block to its front (or the first ones to its end), and the
    /// others after (or before) them. Takes a buffer of `moved` bytes.
    static void rotate(void* data, std::size_t count, std::size_t moved, bool toFront);
};

}  // namespace zt_detail

/// A growable array with signed 32-bit sizes and indices, in one buffer from `ztmalloc`.
///
/// Elements are moved by copying their bytes, when the buffer grows and when a gap is opened or
/// closed, which makes insertion and removal cheap for element types with heap data of their own.
/// A type that cannot bear it (`ZtIsRelocatable`) is refused; use `std::vector` for those.
///
/// Appending n elements one by one costs O(n): the capacity grows to 1.5 x the size. Only `remax`
/// ever makes the buffer smaller. A reference to an element holds until the array grows or an
/// element before it comes or goes; passing an own element to an operation of the array is safe.
/// Indices are checked as contracts only. An operation that cannot get memory throws
/// `ZtMemoryException` and leaves the array as it was. One thread at a time.
///
/// The second parameter is always 1.
template <class T, int N = 1>
class ZtDArray {
public:
    /// Orders two elements: negative, 0 or positive as the first is less, equal or greater.
    typedef int (*Compare)(const T&, const T&);

    ZtDArray() = default;

    /// Makes `size` raw slots (see `resize`) and room for `max` elements if that is more.
    explicit ZtDArray(int size, int max = -1) { remax(max, size); }

    /// Copies the elements; the capacity is exactly their number.
    ZtDArray(const ZtDArray& other);

    /// Takes the buffer over and leaves the other array empty and without one.
    ZtDArray(ZtDArray&& other) noexcept { swapWith(other); }

    ~ZtDArray();

    /// Copies the elements; the capacity never shrinks. When copying an element throws, the
    /// elements before it have their new values.
    ZtDArray& operator=(const ZtDArray& other);

    /// Adopts a block from `ztmalloc` that holds `n` elements, which are then size and capacity.
    /// The old buffer is not freed, nor are its elements destroyed.
    void setRawData(int n, T* data);

    /// Forgets the buffer without freeing it: it is the caller's, who asked for it by `dataPtr`.
    void release();

    /// The number of elements, and of their bytes.
    int size() const { return size_; }
    std::size_t dataSizeInBytes() const { return bytes(size_); }
    /// Returns the capacity.
    int getMax() const { return max_; }
    bool isEmptyArray() const { return size_ == 0; }
    bool isNotEmptyArray() const { return size_ != 0; }
    bool isValidIndex(int i) const { return 0 <= i && i < size_; }
    bool isConsistent() const { return max_ >= 0 && max_ >= size_; }

    /// Returns an element; expects a valid index. Of a 64-bit index the low 32 bits count.
    T& operator[](int i) { return at(i); }
    T& operator[](unsigned i) { return at(static_cast<int>(i)); }
    T& operator[](long i) { return at(static_cast<int>(i)); }
    T& operator[](unsigned long i) { return at(static_cast<int>(i)); }
    T& operator[](long long i) { return at(static_cast<int>(i)); }
    T& operator[](unsigned long long i) { return at(static_cast<int>(i)); }
    const T& operator[](int i) const { return at(i); }
    const T& operator[](unsigned i) const { return at(static_cast<int>(i)); }
    const T& operator[](long i) const { return at(static_cast<int>(i)); }
    const T& operator[](unsigned long i) const { return at(static_cast<int>(i)); }
    const T& operator[](long long i) const { return at(static_cast<int>(i)); }
    const T& operator[](unsigned long long i) const { return at(static_cast<int>(i)); }

    /// Return the buffer, null when there is none. `first` and `front` do, too.
    T* dataPtr() { return data_; }
    const T* dataPtr() const { return data_; }
    operator T*() { return data_; }
    operator const T*() const { return data_; }
    T* first() { return data_; }
    const T* first() const { return data_; }
    T* front() { return data_; }
    const T* front() const { return data_; }
    T* begin() { return data_; }
    const T* begin() const { return data_; }
    T* end() { return data_ + size_; }
    const T* end() const { return data_ + size_; }

    /// Return the last element; expect that there is one.
    T& last() { return at(size_ - 1); }
    const T& last() const { return at(size_ - 1); }
    T& back() { return at(size_ - 1); }
    const T& back() const { return at(size_ - 1); }

    /// Makes the size `newSize` and the capacity exactly the larger of `newMax` and `newSize`,
    /// where a negative number stands for the present size. New slots are as those of `resize`;
    /// elements beyond the new size are not destroyed. Returns the old capacity less the new one.
    int remax(int newMax = -1, int newSize = -1);

    /// Makes the size `n` (0 if negative) and returns it. New slots are raw: no constructor runs.
    /// Their bytes are 0 if the element type has a destructor, else anything.
    int resize(int n);

    /// Adds `n` raw slots at the end (or, if negative, removes elements) and returns the index of
    /// the first: the new size less `n`.
    int appendSpace(int n = 1);

    /// Opens a gap of `n` raw slots before index `pos`.
    void insertSpace(int pos, int n = 1);

    /// Destroys all elements; the buffer is kept.
    void clear();

    /// Inserts copies of `n` elements before index `pos`. The source may lie in this array, but a
    /// source that straddles `pos` is not split: its copies past `pos` have unspecified values.
    void insert(int pos, int n, const T* source);
    void insert(int pos, const T& value) { insert(pos, 1, &value); }
    void insertArray(int pos, const ZtDArray& other) { insert(pos, other.size_, other.data_); }

    /// Append and return the index of the first new element.
    int append(int n, const T* source);
    int append(const T& value) { return push(value); }
    int appendArray(const ZtDArray& other) { return append(other.size_, other.data_); }
    int push(const T& value);
    void push_back(const T& value) { push(value); }

    /// Inserts into an ascending array, after all elements that compare equal, and returns the
    /// index. Searches between the indices `lo` and `hi`, both exclusive; -1 for `hi` is the size.
    int insertSorted(const T& value, Compare compare, int lo = -1, int hi = -1);

    /// Appends those elements of `other` that are not yet here, each once. O(size x other size).
    void join(const ZtDArray& other);

    /// Removes `n` elements from index `pos` on and keeps the order of the others.
    void remove(int pos, int n = 1);
    void removeLast(int n = 1);

    /// Takes the last element off into `out` and returns 1; returns 0 when there is none.
    int pop(T& out);
    void pop_back() { truncate(size_ - 1); }

    /// Removes all elements equal to `value`, keeps the order of the others and returns how many
    /// were removed. O(size).
    int removeValue(const T& value);

    /// Returns the lowest index of an element equal to `value`, -1 if there is none. O(size).
    int index(const T& value) const;
    bool contains(const T& value) const { return index(value) != -1; }

    /// Returns the index of an element of an ascending array that compares equal to `value`, -1 if
    /// there is none. Searches between the indices `lo` and `hi`, of which an explicitly given one
    /// is looked at, too; -1 for `hi` is the size. O(log size).
    int findSorted(const T& value, Compare compare, int lo = -1, int hi = -1) const;

    /// Sorts by the runtime's `qsort`; equal elements end in any order.
    void sort(Compare compare);

    /// Exchanges the bytes of two elements; expects valid indices.
    void swap(int i, int j);
    /// Exchanges the buffers of two arrays; no element is touched.
    void swapWith(ZtDArray& other) noexcept;
    /// Turns the order round.
    void reverse();
    /// Rotates by |k| <= size places, towards higher indices if k is positive. Takes a buffer of
    /// |k| elements.
    void rotate(int k = 1);
    /// Assigns `value` to all elements. When that throws, those before have their new values.
    void fill(const T& value);

    /// Whether the sizes and all elements are equal.
    bool operator==(const ZtDArray& other) const;
    bool operator!=(const ZtDArray& other) const { return !(*this == other); }

protected:
    /// Opens a gap of `n` >= 1 slots before index `pos`, whose bytes are what they are.
    void insertMemory(int pos, int n);

    /// Makes the size `n`, for which the capacity must do, and touches no element.
    void setSize(int n) {
        ZT_REQUIRE(n >= 0 && n <= getMax());
        size_ = n;
    }

private:
    static constexpr bool kHasDestructor = !std::is_trivially_destructible_v<T>;
    static constexpr bool kIsPlain = std::is_trivially_copyable_v<T>;
    /// Equal values are equal bytes.
    static constexpr bool kIsEqualByBytes = std::is_integral_v<T> || std::is_pointer_v<T>;

    static std::size_t bytes(long long n) { return static_cast<std::size_t>(n) * sizeof(T); }
    static void moveBytes(T* to, const T* from, int n) {
        std::memmove(static_cast<void*>(to), static_cast<const void*>(from), bytes(n));
    }
    static void swapBytes(T* a, T* b) {
        unsigned char saved[sizeof(T)];
        std::memcpy(saved, static_cast<void*>(a), sizeof(T));
        std::memcpy(static_cast<void*>(a), static_cast<void*>(b), sizeof(T));
        std::memcpy(static_cast<void*>(b), saved, sizeof(T));
    }
    static void copyConstruct(T* target, int n, const T* source);
    __attribute__((no_sanitize("vptr"))) static void destroy(T* from, T* to) noexcept;

    T& at(int i) {
        ZT_REQUIRE(isValidIndex(i));
        return data_[i];
    }
    const T& at(int i) const {
        ZT_REQUIRE(isValidIndex(i));
        return data_[i];
    }

    bool isOwn(const T* element) const;
    void growTo(long long needed);
    void growByOne() { setBuffer(zt_detail::ArrayMemory::growByOne(data_, size_, sizeof(T))); }
    void setBuffer(zt_detail::ArrayBuffer buffer) {
        data_ = static_cast<T*>(buffer.data);
        max_ = buffer.max;
    }
    int pushGrowing(const T& value);
    int sweep(const T& value);
    void truncate(int n);
    void prepareRawSlots(int from, int n);
    void closeGap(int pos, int n);
    int bisect(const T& value, Compare compare, int& lo, int hi) const;

    int size_ = 0;
    int max_ = 0;
    T* data_ = nullptr;
};

template <class T, int N>
ZtDArray<T, N>::ZtDArray(const ZtDArray& other) {
    try {
        insert(0, other.size_, other.data_);
    } catch (...) {
        ztfree(data_);
        throw;
    }
}

template <class T, int N>
ZtDArray<T, N>::~ZtDArray() {
    static_assert(
        ZtIsRelocatable<T>::value,
        "the array moves its elements by copying their bytes, which this type cannot bear");
    static_assert(alignof(T) <= alignof(std::max_align_t), "the heap does not align as this needs");
    if constexpr (kHasDestructor)
        destroy(data_, data_ + size_);
    if (data_)
        ztfree(data_);
}

template <class T, int N>
ZtDArray<T, N>& ZtDArray<T, N>::operator=(const ZtDArray& other) {
    if (this == &other)
        return *this;
    const int n = other.size_ < 0 ? 0 : other.size_;
    if (n > max_)
        growTo(n);
    if constexpr (kIsPlain) {
        if (n > 0)
            moveBytes(data_, other.data_, n);
        size_ = n;
    } else {
        for (int i = 0; i < size_ && i < n; ++i)
            data_[i] = other.data_[i];
        for (; size_ < n; ++size_)
            ::new (static_cast<void*>(data_ + size_)) T(other.data_[size_]);
        truncate(n);
    }
    return *this;
}

template <class T, int N>
void ZtDArray<T, N>::setRawData(int n, T* data) {
    size_ = max_ = data && n > 0 ? n : 0;
    data_ = data;
}

template <class T, int N>
void ZtDArray<T, N>::release() {
    size_ = max_ = 0;
    data_ = nullptr;
}

template <class T, int N>
int ZtDArray<T, N>::remax(int newMax, int newSize) {
    const int oldMax = max_;
    const int oldSize = size_;
    if (newMax < 0)
        newMax = size_;
    if (newSize < 0)
        newSize = size_;
    const int capacity = newMax > newSize ? newMax : newSize;
    if (capacity != oldMax)
        setBuffer(zt_detail::ArrayMemory::setMax(data_, capacity, sizeof(T)));
    size_ = newSize;
    prepareRawSlots(oldSize, newSize - oldSize);
    return oldMax - capacity;
}

template <class T, int N>
int ZtDArray<T, N>::resize(int n) {
    if (n < 0)
        n = 0;
    if (n <= size_) {
        truncate(n);
        return n;
    }
    if (n > max_)
        growTo(n);
    prepareRawSlots(size_, n - size_);
    return size_ = n;
}

template <class T, int N>
int ZtDArray<T, N>::appendSpace(int n) {
    const long long wanted = static_cast<long long>(size_) + n;
    if (wanted > max_)
        growTo(wanted);
    // Subtracting the smallest number of all does not fit.
    const long long firstNew =
        resize(wanted < 0 ? 0 : static_cast<int>(wanted)) - static_cast<long long>(n);
    return firstNew > INT_MAX ? INT_MAX : static_cast<int>(firstNew);
}

template <class T, int N>
void ZtDArray<T, N>::insertSpace(int pos, int n) {
    if (n < 1)
        return;
    insertMemory(pos, n);
    prepareRawSlots(pos, n);
}

template <class T, int N>
void ZtDArray<T, N>::clear() {
    truncate(0);
}

template <class T, int N>
void ZtDArray<T, N>::insert(int pos, int n, const T* source) {
    if (n < 1)
        return;
    ZT_REQUIRE(source != nullptr);
    if (isOwn(source)) {
        const std::ptrdiff_t s = source - data_;
        insertMemory(pos, n);
        source = data_ + s + (pos <= s ? n : 0);
    } else {
        insertMemory(pos, n);
    }
    if constexpr (kIsPlain || std::is_nothrow_copy_constructible_v<T>) {
        copyConstruct(data_ + pos, n, source);
    } else {
        try {
            copyConstruct(data_ + pos, n, source);
        } catch (...) {
            closeGap(pos, n);
            throw;
        }
    }
}

template <class T, int N>
int ZtDArray<T, N>::append(int n, const T* source) {
    const int firstNew = size_;
    insert(firstNew, n, source);
    return firstNew;
}

template <class T, int N>
inline int ZtDArray<T, N>::push(const T& value) {
    if constexpr (kIsPlain && sizeof(T) <= 16) {
        if (__builtin_expect(size_ >= max_, false)) {
            const T copy = value;  // it may be an own element
            growByOne();
            ::new (static_cast<void*>(data_ + size_)) T(copy);
        } else {
            ::new (static_cast<void*>(data_ + size_)) T(value);
        }
    } else {
        if (__builtin_expect(size_ >= max_, false))
            return pushGrowing(value);
        ::new (static_cast<void*>(data_ + size_)) T(value);
    }
    return size_++;
}

template <class T, int N>
int ZtDArray<T, N>::pushGrowing(const T& value) {
    const T* source = &value;
    if (isOwn(source)) {
        const std::ptrdiff_t s = source - data_;
        growByOne();
        source = data_ + s;
    } else {
        growByOne();
    }
    ::new (static_cast<void*>(data_ + size_)) T(*source);
    // Last, since a value that owns this array has just been copied with it.
    return size_++;
}

template <class T, int N>
int ZtDArray<T, N>::insertSorted(const T& value, Compare compare, int lo, int hi) {
    bisect(value, compare, lo, hi);
    insert(lo + 1, 1, &value);
    return lo + 1;
}

template <class T, int N>
void ZtDArray<T, N>::join(const ZtDArray& other) {
    // With itself nothing is missing, even where an element differs from itself.
    if (this == &other)
        return;
    const int oldSize = size_;
    try {
        for (const T& element : other)
            if (!contains(element))
                push(element);
    } catch (...) {
        truncate(oldSize);
        throw;
    }
}

template <class T, int N>
void ZtDArray<T, N>::remove(int pos, int n) {
    if (n < 1)
        return;
    ZT_REQUIRE(pos >= 0 && n <= size_ - pos);
    if (n >= size_ - pos) {
        truncate(size_ - n);
        return;
    }
    if constexpr (kHasDestructor)
        destroy(data_ + pos, data_ + pos + n);
    closeGap(pos, n);
}

template <class T, int N>
void ZtDArray<T, N>::removeLast(int n) {
    if (n < 1)
        return;
    ZT_REQUIRE(n <= size_);
    truncate(size_ - n);
}

template <class T, int N>
int ZtDArray<T, N>::pop(T& out) {
    if (size_ < 1)
        return 0;
    out = data_[size_ - 1];
    truncate(size_ - 1);
    return 1;
}

template <class T, int N>
int ZtDArray<T, N>::removeValue(const T& value) {
    if constexpr (kIsPlain) {
        const T wanted = value;  // may be an element
        int kept = 0;
        for (int i = 0; i < size_; ++i) {
            const bool isKept = !(data_[i] == wanted);
            moveBytes(data_ + kept, data_ + i, 1);
            kept += isKept;
        }
        const int removed = size_ - kept;
        size_ = kept;
        return removed;
    } else {
        if (isOwn(&value)) {
            const T wanted(value);
            return removeValue(wanted);
        }
        return sweep(value);
    }
}

/// Removes the elements equal to `value`, which is none of them, in one pass.
template <class T, int N>
int ZtDArray<T, N>::sweep(const T& value) {
    // Closes the hole in the end, also when a comparison throws.
    struct Hole {
        ZtDArray& array;
        int from;
        int to;
        void moveDown(int n) {
            if (n > 0 && from < to)
                moveBytes(array.data_ + from, array.data_ + to, n);
        }
        ~Hole() {
            moveDown(array.size_ - to);
            array.size_ -= to - from;
        }
    };
    const int oldSize = size_;
    {
        Hole hole{*this, 0, 0};
        while (hole.to < oldSize) {
            T* const element = data_ + hole.to;
            if (*element == value) {
                destroy(element, element + 1);
            } else {
                hole.moveDown(1);
                ++hole.from;
            }
            ++hole.to;
        }
    }
    return oldSize - size_;
}

template <class T, int N>
int ZtDArray<T, N>::index(const T& value) const {
    int i = 0;
    if constexpr (std::is_arithmetic_v<T> && sizeof(T) <= 4) {
        // Whole blocks without an exit inside, in numbers of the element's size, which compilers
        // turn into vector compares.
        using Mask =
            std::conditional_t<sizeof(T) == 1, unsigned char,
                               std::conditional_t<sizeof(T) == 2, unsigned short, unsigned int>>;
        constexpr int kBlock = static_cast<int>(128 / sizeof(T));
        const T wanted = value;
        for (; i <= size_ - kBlock; i += kBlock) {
            Mask found = 0;
            for (int j = 0; j < kBlock; ++j)
                found = static_cast<Mask>(found | static_cast<Mask>(data_[i + j] == wanted));
            if (found)
                break;
        }
    }
    for (; i < size_; ++i)
        if (data_[i] == value)
            return i;
    return -1;
}

template <class T, int N>
int ZtDArray<T, N>::bisect(const T& value, Compare compare, int& lo, int hi) const {
    if (hi == -1)
        hi = size_;
    while (static_cast<long long>(hi) - lo >= 2) {
        const int mid = static_cast<int>((static_cast<long long>(lo) + hi) / 2);
        if (compare(value, at(mid)) >= 0)
            lo = mid;
        else
            hi = mid;
    }
    return hi;
}

template <class T, int N>
int ZtDArray<T, N>::findSorted(const T& value, Compare compare, int lo, int hi) const {
    hi = bisect(value, compare, lo, hi);
    if (lo >= 0 && compare(value, at(lo)) == 0)
        return lo;
    if (hi >= size_)
        return -1;
    return compare(value, at(hi)) == 0 ? hi : -1;
}

template <class T, int N>
void ZtDArray<T, N>::sort(Compare compare) {
    if (size_ < 2)
        return;
    // References and pointers are passed alike on every target, so qsort may call it directly. The
    // detour over another function type says that this is meant.
    typedef int (*RawCompare)(const void*, const void*);
    const auto raw = reinterpret_cast<RawCompare>(reinterpret_cast<void (*)()>(compare));
    std::qsort(static_cast<void*>(data_), static_cast<std::size_t>(size_), sizeof(T), raw);
}

template <class T, int N>
void ZtDArray<T, N>::swap(int i, int j) {
    T& a = at(i);
    T& b = at(j);
    if (i != j)
        swapBytes(&a, &b);
}

template <class T, int N>
void ZtDArray<T, N>::swapWith(ZtDArray& other) noexcept {
    const int size = size_;
    const int max = max_;
    T* const data = data_;
    size_ = other.size_;
    max_ = other.max_;
    data_ = other.data_;
    other.size_ = size;
    other.max_ = max;
    other.data_ = data;
}

template <class T, int N>
void ZtDArray<T, N>::reverse() {
    for (int i = 0; i < size_ / 2; ++i)
        swapBytes(data_ + i, data_ + (size_ - 1 - i));
}

template <class T, int N>
void ZtDArray<T, N>::rotate(int k) {
    const long long places = k < 0 ? -static_cast<long long>(k) : k;
    ZT_REQUIRE(places <= size_);
    if (places <= size_)
        zt_detail::ArrayMemory::rotate(data_, bytes(size_), bytes(places), k >= 0);
}

template <class T, int N>
void ZtDArray<T, N>::fill(const T& value) {
    if constexpr (std::is_integral_v<T> && sizeof(T) == 1) {
        if (size_ > 0)
            std::memset(data_, static_cast<unsigned char>(value), bytes(size_));
    } else if constexpr (kIsPlain && sizeof(T) <= 64) {
        const T copy = value;
        for (T& element : *this)
            element = copy;
    } else {
        for (T& element : *this)
            element = value;
    }
}

template <class T, int N>
bool ZtDArray<T, N>::operator==(const ZtDArray& other) const {
    if (size_ != other.size_)
        return false;
    if constexpr (kIsEqualByBytes) {
        return size_ == 0 || std::memcmp(data_, other.data_, bytes(size_)) == 0;
    } else {
        for (int i = 0; i < size_; ++i)
            if (!(data_[i] == other.data_[i]))
                return false;
        return true;
    }
}

template <class T, int N>
void ZtDArray<T, N>::insertMemory(int pos, int n) {
    ZT_REQUIRE(0 <= pos && pos <= size_);
    const long long needed = static_cast<long long>(size_) + n;
    if (needed > max_)
        growTo(needed);
    if (pos < size_)
        moveBytes(data_ + pos + n, data_ + pos, size_ - pos);
    size_ = static_cast<int>(needed);
}

/// Closes the gap of `n` raw slots at `pos`.
template <class T, int N>
void ZtDArray<T, N>::closeGap(int pos, int n) {
    const int tail = size_ - pos - n;
    if (tail > 0)
        moveBytes(data_ + pos, data_ + pos + n, tail);
    size_ -= n;
}

/// Constructs copies in raw slots, from the last to the first: where the source overlaps them, it
/// is read before it is overwritten. Destroys what it built when a constructor throws.
template <class T, int N>
void ZtDArray<T, N>::copyConstruct(T* target, int n, const T* source) {
    if constexpr (kIsPlain) {
        moveBytes(target, source, n);
    } else {
        int built = n;
        try {
            for (; built > 0; --built)
                ::new (static_cast<void*>(target + built - 1)) T(source[built - 1]);
        } catch (...) {
            destroy(target + built, target + n);
            throw;
        }
    }
}

template <class T, int N>
void ZtDArray<T, N>::destroy(T* from, T* to) noexcept {
    if constexpr (kHasDestructor) {
        // Not a virtual call: a raw slot of zeros has no virtual table yet, which sanitizers
        // notice.
        for (; from < to; ++from)
            from->T::~T();
    } else {
        (void)from, (void)to;
    }
}

template <class T, int N>
bool ZtDArray<T, N>::isOwn(const T* element) const {
    return !std::less<const T*>()(element, data_) && std::less<const T*>()(element, data_ + size_);
}

template <class T, int N>
inline void ZtDArray<T, N>::growTo(long long needed) {
    setBuffer(zt_detail::ArrayMemory::grow(data_, size_, needed, sizeof(T)));
}

/// Destroys the elements from index `n` on, all of them if it is negative.
template <class T, int N>
void ZtDArray<T, N>::truncate(int n) {
    if (n < 0)
        n = 0;
    if (n >= size_)
        return;
    // The size first: a destructor may look at the array.
    T* const oldEnd = data_ + size_;
    size_ = n;
    destroy(data_ + n, oldEnd);
}

/// Zeroes slots that a destructor will meet.
template <class T, int N>
void ZtDArray<T, N>::prepareRawSlots(int from, int n) {
    if constexpr (kHasDestructor)
        if (n > 0)
            std::memset(static_cast<void*>(data_ + from), 0, bytes(n));
}

ZTLIB_INSTANTIATED(class ZTLIB_API ZtDArray<char, 1>)
