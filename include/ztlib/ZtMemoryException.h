// The exception that says that memory is exhausted.
#pragma once

#include <ztlib/ZtException.h>
#include <ztlib/ZtExport.h>

#include <cstddef>

/// Thrown by `ztmalloc` and `ztrealloc`, and so by whatever grows. Making and copying it never
/// throws: where there is no memory for the message either, `what` gives one without the size.
///
/// `clone` and `raise` through the base give a plain `ZtException` with the same message: what is
/// re-raised elsewhere is reported, not handled as a failed allocation of the place that catches.
class ZTLIB_API ZtMemoryException : public ZtException {
public:
    /// The size of the request is unknown.
    ZtMemoryException();
    /// A request of `numBytes` bytes failed.
    explicit ZtMemoryException(std::size_t numBytes);
    ~ZtMemoryException() override;
    ZtMemoryException(const ZtMemoryException&) = default;
    ZtMemoryException& operator=(const ZtMemoryException&) = default;

    /// Returns the size of the request that failed, 0 when unknown.
    std::size_t getNumBytes() const { return numBytes_; }

    /// Returns the message, which names the size where it is known. Writes it anew, so one object
    /// serves one thread at a time. Never throws.
    const char* what() const override;

private:
    void writeMessage() const noexcept;

    std::size_t numBytes_ = 0;
};
