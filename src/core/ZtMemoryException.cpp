// The exception of exhausted memory and its message.
#include <ztlib/ZtMemoryException.h>

ZtMemoryException::ZtMemoryException() {
    what();
}

ZtMemoryException::ZtMemoryException(std::size_t numBytes) : numBytes_(numBytes) {
    what();
}

ZtMemoryException::ZtMemoryException(const ZtMemoryException& other) = default;

ZtMemoryException& ZtMemoryException::operator=(const ZtMemoryException& other) = default;

ZtMemoryException::~ZtMemoryException() = default;

std::size_t ZtMemoryException::getNumBytes() const {
    return numBytes_;
}

const char* ZtMemoryException::what() const {
    if (numBytes_ == 0)
        message_ = "could not allocate enough memory";
    else
        message_.printf("could not allocate %llu bytes",
                        static_cast<unsigned long long>(numBytes_));
    return message_.getString();
}
