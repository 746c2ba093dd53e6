// The exception of exhausted memory.
#pragma once

#include <ztlib/ZtException.h>

#include <cstddef>

/// Thrown by `ztmalloc` and `ztrealloc` when memory is exhausted. `clone` and `raise` give a plain
/// `ZtException` with the same message.
class ZTLIB_API ZtMemoryException : public ZtException {
public:
    /// A request of unknown size.
    ZtMemoryException();
    explicit ZtMemoryException(std::size_t numBytes);
    ZtMemoryException(const ZtMemoryException& other);
    ZtMemoryException& operator=(const ZtMemoryException& other);
    ~ZtMemoryException() override;

    /// The size of the request that failed; 0 when unknown.
    std::size_t getNumBytes() const;

    /// The message, formed anew at each call: not from two threads at once. Never throws.
    const char* what() const override;

private:
    std::size_t numBytes_ = 0;
};
