// Work space from ztmalloc that is released on every path.
#pragma once

#include <ztlib/ZtMemory.h>

#include <cstddef>
#include <cstdint>

/// An uninitialised array of plain elements; its content is raw memory.
template <class T>
class WorkArray {
public:
    WorkArray() = default;
    explicit WorkArray(std::uint64_t count) { allocate(count); }
    ~WorkArray() { ztfree(data_); }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;

    /// Allocates `count` elements in place of those held. Throws ZtMemoryException.
    void allocate(std::uint64_t count) {
        ztfree(release());
        data_ = static_cast<T*>(ztmalloc(bytes(count)));
    }

    /// Makes room for `count` elements, keeping those held. Throws ZtMemoryException.
    void grow(std::uint64_t count) { data_ = static_cast<T*>(ztrealloc(data_, bytes(count))); }

    /// Hands the array over to the caller, who frees it with `ztfree`.
    T* release() {
        T* const data = data_;
        data_ = nullptr;
        return data;
    }

    T* data() { return data_; }
    const T* data() const { return data_; }
    T& operator[](std::size_t index) { return data_[index]; }

private:
    static std::size_t bytes(std::uint64_t count) {
        if (count > static_cast<std::size_t>(PTRDIFF_MAX) / sizeof(T))
            ztThrowMemoryException(SIZE_MAX);
        return static_cast<std::size_t>(count) * sizeof(T);
    }

    T* data_ = nullptr;
};
