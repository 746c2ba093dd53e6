// The exception that says that memory is exhausted.
#include <ztlib/ZtMemoryException.h>

#include <charconv>
#include <cstring>

ZtMemoryException::ZtMemoryException() : ZtMemoryException(0) {}

ZtMemoryException::ZtMemoryException(std::size_t numBytes) : numBytes_(numBytes) {
    // From the start, so that a clone, which is a plain `ZtException`, carries it.
    writeMessage();
}

ZtMemoryException::~ZtMemoryException() = default;

const char* ZtMemoryException::what() const {
    writeMessage();
    return ZtException::what();
}

void ZtMemoryException::writeMessage() const {
    if (numBytes_ == 0) {
        setMessage("could not allocate enough memory");
        return;
    }
    // Without a formatted print: it must not take memory, and it must not need %zu of the runtime.
    char text[64] = "could not allocate ";
    char* const end = std::to_chars(text + std::strlen(text), text + sizeof text, numBytes_).ptr;
    std::strcpy(end, " bytes");
    setMessage(text);
}
