// The growable array that every list of the library is.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtMemory.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

/// Whether an object of type `T` may be moved by copying its bytes. Taken as true; specialise it as
/// false for a type that points into itself.
template <class T>
struct ZtIsRelocatable : std::true_type {};

/// A contiguous array that grows by half of its size and moves its elements bitwise: growing is one
/// `ztrealloc`, opening and closing a gap one block move. Element types must be relocatable so (see
/// `ZtIsRelocatable`). Indices are not checked (in a checked build they are contracts); sizes are
/// signed 32-bit, and a request beyond them throws `ZtMemoryException`. A count below 1 means
/// "nothing" unless stated otherwise. Arguments may refer to the array's own elements. When memory
/// runs out the array is as it was. An array is used by one thread at a time.
///
/// Slots that are opened without a value (`resize`, `appendSpace`, `insertSpace`) are raw; for
/// element types with a destructor they are zero bytes. Removing elements runs their destructors,
/// `remax` and `release` do not.
///
/// The second parameter has no effect and is always 1.
template <class T, int N = 1>
class ZtDArray {
    static_assert(ZtIsRelocatable<T>::value, "elements are moved bitwise");
    static_assert(alignof(T) <= alignof(std::max_align_t), "ztmalloc aligns no further");

public:
    ZtDArray() = default;

    /// `remax(max, size)` of an empty array: `size` raw slots.
    explicit ZtDArray(int size, int max = -1) { remax(max, size); }

    /// A copy whose capacity is exactly its size.
    ZtDArray(const ZtDArray& other) { insertArray(0, other); }

    ~ZtDArray() {
        destroy(0, size_);
        ztfree(data_);
    }

    /// Assigns the elements that both have, in ascending order, and copies the rest; the capacity
    /// never shrinks.
    ZtDArray& operator=(const ZtDArray& other) {
        if (this == &other)
            return *this;
        const int n = other.size_ < 0 ? 0 : other.size_;
        reserve(n);
        const int shared = n < size_ ? n : size_;
        for (int i = 0; i < shared; ++i)
            data_[i] = other.data_[i];
        destroy(n, size_);
        size_ = shared;
        for (; size_ < n; ++size_)
            new (static_cast<void*>(data_ + size_)) T(other.data_[size_]);
        return *this;
    }

    /// Adopts a buffer from `ztmalloc` that holds `n` elements; the old one is not freed.
    void setRawData(int n, T* pointer) {
        data_ = pointer;
        size_ = max_ = pointer && n > 0 ? n : 0;
    }

    /// Forgets the buffer without freeing it: the caller owns it now.
    void release() {
        size_ = max_ = 0;
        data_ = nullptr;
    }

    int size() const { return size_; }
    std::size_t dataSizeInBytes() const { return static_cast<std::size_t>(size_) * sizeof(T); }
    /// The capacity.
    int getMax() const { return max_; }
    bool isEmptyArray() const { return size_ == 0; }
    bool isNotEmptyArray() const { return size_ != 0; }
    bool isValidIndex(int i) const { return i >= 0 && i < size_; }
    bool isConsistent() const { return max_ >= 0 && max_ >= size_; }

    /// Element `i`; of a 64-bit index the low 32 bits count. Expects a valid index.
    T& operator[](int i) {
        ZT_REQUIRE(isValidIndex(i));
        return data_[i];
    }
    const T& operator[](int i) const {
        ZT_REQUIRE(isValidIndex(i));
        return data_[i];
    }
    // One overload per integer type: the conversion to a pointer would make all others ambiguous.
    T& operator[](unsigned i) { return (*this)[static_cast<int>(i)]; }
    T& operator[](long i) { return (*this)[static_cast<int>(i)]; }
    T& operator[](unsigned long i) { return (*this)[static_cast<int>(i)]; }
    T& operator[](long long i) { return (*this)[static_cast<int>(i)]; }
    T& operator[](unsigned long long i) { return (*this)[static_cast<int>(i)]; }
    const T& operator[](unsigned i) const { return (*this)[static_cast<int>(i)]; }
    const T& operator[](long i) const { return (*this)[static_cast<int>(i)]; }
    const T& operator[](unsigned long i) const { return (*this)[static_cast<int>(i)]; }
    const T& operator[](long long i) const { return (*this)[static_cast<int>(i)]; }
    const T& operator[](unsigned long long i) const { return (*this)[static_cast<int>(i)]; }

    /// The buffer; null when there is none.
    T* first() { return data_; }
    const T* first() const { return data_; }
    T* front() { return data_; }
    const T* front() const { return data_; }
    T* begin() { return data_; }
    const T* begin() const { return data_; }
    T* dataPtr() { return data_; }
    const T* dataPtr() const { return data_; }
    operator T*() { return data_; }
    operator const T*() const { return data_; }
    T* end() { return data_ + size_; }
    const T* end() const { return data_ + size_; }

    /// The last element. Expects a non-empty array.
    T& last() { return (*this)[size_ - 1]; }
    const T& last() const { return (*this)[size_ - 1]; }
    T& back() { return last(); }
    const T& back() const { return last(); }

    /// Sets the capacity to the larger of `newMax` and `newSize` exactly, and the size to
    /// `newSize`; a negative argument stands for the old size. Elements beyond the new size are not
    /// destroyed, new slots are raw. Returns the old capacity minus the new one.
    int remax(int newMax = -1, int newSize = -1) {
        const int wantedSize = newSize < 0 ? size_ : newSize;
        const int wantedMax = newMax < 0 ? size_ : newMax;
        const int oldMax = max_;
        const int oldSize = size_;
        setCapacity(wantedMax > wantedSize ? wantedMax : wantedSize);
        size_ = wantedSize;
        clearRaw(oldSize, size_);
        return oldMax - max_;
    }

    /// Sets the size (negative: 0) and returns it. New slots are raw.
    int resize(int n) {
        n = n < 0 ? 0 : n;
        reserve(n);
        destroy(n, size_);
        const int oldSize = size_;
        size_ = n;
        clearRaw(oldSize, n);
        return n;
    }

    /// Adds `n` raw slots at the end and returns the index of the first. A negative `n` removes.
    int appendSpace(int n = 1) {
        const long long wanted = static_cast<long long>(size_) + n;
        resize(checkedSize(wanted < 0 ? 0 : wanted));
        return static_cast<int>(size_ - static_cast<long long>(n));
    }

    /// Opens a gap of `n` raw slots before index `pos`. Expects 0 <= pos <= size.
    void insertSpace(int pos, int n = 1) {
        if (n < 1)
            return;
        insertMemory(pos, n);
        clearRaw(pos, pos + n);
    }

    /// Destroys every element and keeps the buffer.
    void clear() {
        destroy(0, size_);
        size_ = 0;
    }

    /// Inserts copies of the `n` elements at `pointer` before index `pos`. They may be elements of
    /// this array; a source that straddles `pos` is not split: its part behind `pos` is copied from
    /// the bytes that the gap left there. Expects 0 <= pos <= size.
    void insert(int pos, int n, const T* pointer) {
        if (n < 1)
            return;
        const bool own = isOwn(pointer);
        const std::ptrdiff_t start = own ? pointer - data_ : 0;
        insertMemory(pos, n);
        const T* source = !own ? pointer : data_ + (pos <= start ? start + n : start);
        copyConstruct(pos, n, source);
    }
    void insert(int pos, const T& value) { insert(pos, 1, &value); }
    void insertArray(int pos, const ZtDArray& other) { insert(pos, other.size_, other.data_); }

    /// Appends copies of `n` elements (of this array, perhaps); returns the index of the first.
    int append(int n, const T* pointer) {
        const int at = size_;
        insert(at, n, pointer);
        return at;
    }
    int appendArray(const ZtDArray& other) { return append(other.size_, other.data_); }

    /// Appends a value and returns its index. Amortised constant time.
    int push(const T& value) {
        if (size_ < max_)
            new (static_cast<void*>(data_ + size_)) T(value);
        else
            return append(1, &value);
        return size_++;
    }
    int append(const T& value) { return push(value); }
    void push_back(const T& value) { push(value); }

    /// Inserts into an array that `compare` orders, behind all elements that compare equal, and
    /// returns the index. `lo` and `hi` bound the search to the open interval (lo, hi); an `hi` of
    /// -1 is the size. Logarithmic search, linear move.
    int insertSorted(const T& value, int (*compare)(const T&, const T&), int lo = -1, int hi = -1) {
        bisect(value, compare, lo, hi);
        insert(lo + 1, value);
        return lo + 1;
    }

    /// Appends each element of `other` that this array does not hold yet. Quadratic.
    void join(const ZtDArray& other) {
        if (this == &other)
            return;
        for (int i = 0; i < other.size_; ++i)
            if (!contains(other.data_[i]))
                push(other.data_[i]);
    }

    /// Removes `n` elements from index `pos` on; the order and the capacity stay. Expects that the
    /// array has them; what it has not is left out.
    void remove(int pos, int n = 1) {
        if (n < 1)
            return;
        ZT_REQUIRE(pos >= 0 && pos <= size_ && n <= size_ - pos);
        if (pos < 0 || pos >= size_) {
            removeLast(n);
            return;
        }
        const int tail = n < size_ - pos ? size_ - pos - n : 0;
        destroy(pos, size_ - tail);
        if (tail > 0)
            std::memmove(static_cast<void*>(data_ + pos), data_ + size_ - tail, bytes(tail));
        size_ = pos + tail;
    }

    /// Removes the last `n` elements. Expects that the array has them.
    void removeLast(int n = 1) {
        if (n < 1)
            return;
        ZT_REQUIRE(n <= size_);
        const int rest = n < size_ ? size_ - n : 0;
        destroy(rest, size_);
        size_ = rest;
    }

    /// Moves the last element to `out` and returns 1; returns 0 when there is none.
    int pop(T& out) {
        if (size_ < 1)
            return 0;
        out = data_[size_ - 1];
        pop_back();
        return 1;
    }

    /// Removes the last element, if there is one.
    void pop_back() {
        if (size_ < 1)
            return;
        destroy(size_ - 1, size_);
        --size_;
    }

    /// Removes every element equal to `value` and returns how many there were; the order stays.
    int removeValue(const T& value) {
        const T wanted(value);  // may be an element that is removed
        int removed = 0;
        for (int i = size_ - 1; i >= 0; --i)
            if (data_[i] == wanted) {
                remove(i, 1);
                ++removed;
            }
        return removed;
    }

    /// The lowest index of an element equal to `value`, or -1. Linear.
    int index(const T& value) const {
        for (int i = 0; i < size_; ++i)
            if (data_[i] == value)
                return i;
        return -1;
    }
    bool contains(const T& value) const { return index(value) != -1; }

    /// An index of an element equal to `value` in an array that `compare` orders, or -1. Bounds as
    /// for `insertSorted`; of given bounds the elements at `lo` and `hi` are looked at, too.
    int findSorted(const T& value, int (*compare)(const T&, const T&), int lo = -1,
                   int hi = -1) const {
        bisect(value, compare, lo, hi);
        if (lo >= 0 && lo < size_ && compare(value, data_[lo]) == 0)
            return lo;
        return hi >= 0 && hi < size_ && compare(value, data_[hi]) == 0 ? hi : -1;
    }

    /// Sorts by the runtime's `qsort`; equal elements end in no particular order.
    void sort(int (*compare)(const T&, const T&)) {
        if (size_ < 2)
            return;
        // Both are pointers to functions of two addresses that return int; qsort hands over the
        // addresses of elements, which is what a reference is on every system we build for.
        using Untyped = int (*)(const void*, const void*);
        std::qsort(static_cast<void*>(data_), static_cast<std::size_t>(size_), sizeof(T),
                   reinterpret_cast<Untyped>(reinterpret_cast<void (*)()>(compare)));
    }

    /// Exchanges two elements, bitwise. Expects valid indices.
    void swap(int i, int j) {
        ZT_REQUIRE(isValidIndex(i) && isValidIndex(j));
        if (i == j)
            return;
        alignas(T) unsigned char saved[sizeof(T)];
        std::memcpy(saved, static_cast<const void*>(data_ + i), sizeof(T));
        std::memcpy(static_cast<void*>(data_ + i), static_cast<const void*>(data_ + j), sizeof(T));
        std::memcpy(static_cast<void*>(data_ + j), saved, sizeof(T));
    }

    /// Exchanges the buffers of two arrays in constant time.
    void swapWith(ZtDArray& other) {
        const Fields mine = {size_, max_, data_};
        size_ = other.size_;
        max_ = other.max_;
        data_ = other.data_;
        other.size_ = mine.size;
        other.max_ = mine.max;
        other.data_ = mine.data;
    }

    void reverse() {
        for (int i = 0; i < size_ / 2; ++i)
            swap(i, size_ - 1 - i);
    }

    /// Rotates by `k` places towards higher indices, by -k towards lower ones for a negative `k`.
    /// Expects |k| <= size; a larger `k` changes nothing. Takes a temporary buffer of |k| elements.
    void rotate(int k = 1) {
        const long long m = k < 0 ? -static_cast<long long>(k) : k;
        ZT_REQUIRE(m <= size_);
        if (m > size_)
            return;
        const int moved = static_cast<int>(m);
        const int rest = size_ - moved;
        void* saved = ztmalloc(bytes(moved));
        if (moved > 0) {
            T* from = k < 0 ? data_ : data_ + rest;
            T* to = k < 0 ? data_ + rest : data_;
            std::memcpy(saved, static_cast<const void*>(from), bytes(moved));
            std::memmove(static_cast<void*>(k < 0 ? data_ : data_ + moved),
                         k < 0 ? data_ + moved : data_, bytes(rest));
            std::memcpy(static_cast<void*>(to), saved, bytes(moved));
        }
        ztfree(saved);
    }

    /// Sets every element to `value`.
    void fill(const T& value) {
        if (size_ < 1)
            return;
        if constexpr (sizeof(T) == 1 && std::is_trivially_copyable_v<T>) {
            unsigned char byte;
            std::memcpy(&byte, &value, 1);
            std::memset(static_cast<void*>(data_), byte, bytes(size_));
        } else {
            const T wanted(value);  // may be an element
            for (int i = 0; i < size_; ++i)
                data_[i] = wanted;
        }
    }

    bool operator==(const ZtDArray& other) const {
        if (size_ != other.size_)
            return false;
        for (int i = 0; i < size_; ++i)
            if (!(data_[i] == other.data_[i]))
                return false;
        return true;
    }
    bool operator!=(const ZtDArray& other) const { return !(*this == other); }

protected:
    /// Opens a gap of `n` slots before index `pos` that holds stale bytes. Expects n >= 0 and
    /// 0 <= pos <= size. The array is unchanged when memory runs out.
    void insertMemory(int pos, int n) {
        ZT_REQUIRE(n >= 0 && pos >= 0 && pos <= size_);
        const int needed = checkedSize(static_cast<long long>(size_) + n);
        reserve(needed);
        if (pos < size_)
            std::memmove(static_cast<void*>(data_ + pos + n), data_ + pos, bytes(size_ - pos));
        size_ = needed;
    }

private:
    struct Fields {
        int size;
        int max;
        T* data;
    };

    static constexpr bool kIsPlain = std::is_trivially_copyable_v<T>;

    static std::size_t bytes(int n) { return static_cast<std::size_t>(n) * sizeof(T); }

    /// `n` as a size; throws when it is none.
    static int checkedSize(long long n) {
        if (n > INT_MAX)
            ztThrowMemoryException(saturatedBytes(n));
        return static_cast<int>(n);
    }

    static std::size_t saturatedBytes(long long n) {
        const std::size_t most = static_cast<std::size_t>(-1);
        return static_cast<unsigned long long>(n) > most / sizeof(T)
                   ? most
                   : static_cast<std::size_t>(n) * sizeof(T);
    }

    /// Grows to hold `needed` elements: to the larger of that and 1.5 times the current size.
    void reserve(int needed) {
        if (needed <= max_)
            return;
        const double half = size_ * 1.5;
        const int grown = half < INT_MAX ? static_cast<int>(half) : INT_MAX;
        setCapacity(grown > needed ? grown : needed);
    }

    void setCapacity(int capacity) {
        if (capacity == max_)
            return;
        if (capacity == 0) {
            ztfree(data_);
            data_ = nullptr;
        } else {
            if (static_cast<unsigned>(capacity) > static_cast<std::size_t>(-1) / sizeof(T))
                ztThrowMemoryException(saturatedBytes(capacity));
            data_ = static_cast<T*>(ztrealloc(static_cast<void*>(data_), bytes(capacity)));
        }
        max_ = capacity;
    }

    bool isOwn(const T* pointer) const {
        const auto address = reinterpret_cast<std::uintptr_t>(pointer);
        const auto start = reinterpret_cast<std::uintptr_t>(data_);
        return data_ && address >= start && address < start + bytes(size_);
    }

    /// Fills the gap of `n` slots at `pos` with copies; closes it again if a copy throws.
    void copyConstruct(int pos, int n, const T* source) {
        if constexpr (kIsPlain) {
            std::memmove(static_cast<void*>(data_ + pos), source, bytes(n));
        } else {
            int i = n;
            try {
                for (; i > 0; --i)
                    new (static_cast<void*>(data_ + pos + i - 1)) T(source[i - 1]);
            } catch (...) {
                destroy(pos + i, pos + n);
                std::memmove(static_cast<void*>(data_ + pos), data_ + pos + n,
                             bytes(size_ - pos - n));
                size_ -= n;
                throw;
            }
        }
    }

    /// Runs the destructors of the elements from `from` to before `to`.
    void destroy(int from, int to) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            for (int i = from; i < to; ++i)
                data_[i].T::~T();
        }
    }

    /// Zeroes raw slots whose type has a destructor, which would otherwise run on stale bytes.
    void clearRaw(int from, int to) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            if (from < to)
                std::memset(static_cast<void*>(data_ + from), 0, bytes(to - from));
        }
    }

    /// Narrows (lo, hi) until `value` belongs right behind `lo`; an `hi` of -1 becomes the size.
    void bisect(const T& value, int (*compare)(const T&, const T&), int& lo, int& hi) const {
        if (hi == -1)
            hi = size_;
        while (static_cast<long long>(hi) - lo >= 2) {
            const int mid = static_cast<int>((static_cast<long long>(lo) + hi) / 2);
            if (compare(value, data_[mid]) >= 0)
                lo = mid;
            else
                hi = mid;
        }
    }

    int size_ = 0;
    int max_ = 0;
    T* data_ = nullptr;
};

extern template class ZTLIB_API ZtDArray<char, 1>;
