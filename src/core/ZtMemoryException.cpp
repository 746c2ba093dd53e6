// The exception that says that memory is exhausted.
#include <ztlib/ZtMemoryException.h>

#include <charconv>
#include <cstring>

namespace {
constexpr char kUnknownSize[] = "could not allocate enough memory";
}

ZtMemoryException::ZtMemoryException() : ZtMemoryException(0) {}

ZtMemoryException::ZtMemoryException(std::size_t numBytes) : numBytes_(numBytes) {
    // From the start, so that a clone, which is a plain `ZtException`, carries it.
    writeMessage();
}

ZtMemoryException::~ZtMemoryException() = default;

const char* ZtMemoryException::what() const {
    writeMessage();
    const char* const text = ZtException::what();
    return *text ? text : kUnknownSize;
}

void ZtMemoryException::writeMessage() const noexcept {
    // Without a formatted print, which not every runtime has for this type.
    char text[64] = "could not allocate ";
    constexpr char kUnit[] = " bytes";
    char* const last = text + sizeof text - sizeof kUnit;
    std::strcpy(std::to_chars(text + std::strlen(text), last, numBytes_).ptr, kUnit);
    try {
        message = numBytes_ == 0 ? kUnknownSize : text;
    } catch (...) {
        // No memory for the message either: `what` then gives the text that needs none.
    }
}
