// The base class of the library's exceptions.
#include <ztlib/ZtException.h>

#include <ztlib/ZtMemory.h>

#include <cstdarg>
#include <new>

ZtException::ZtException() noexcept : message_(ZtString::WithoutBuffer{}) {}

ZtException::ZtException(const ZtString& message) : message_(message) {}

ZtException::ZtException(const char* format, ...) : ZtException() {
    if (!format)
        return;
    // Exhausted memory leaves the argument list open, which costs nothing on any of our systems.
    va_list arguments;
    va_start(arguments, format);
    message_.vprintf(format, arguments);
    va_end(arguments);
}

ZtException::ZtException(const ZtException& other) noexcept : ZtException() {
    *this = other;
}

ZtException& ZtException::operator=(const ZtException& other) noexcept {
    try {
        message_ = other.message_;
    } catch (...) {
        message_.removeLast(message_.length());
    }
    return *this;
}

ZtException::~ZtException() = default;

const char* ZtException::what() const {
    const ZtString& message = message_;
    return message.getString();
}

void ZtException::raise() const {
    // Whatever escapes, the plain exception included, goes on as the type that was thrown.
    doRaise();
}

ZtException* ZtException::doClone() const {
    ZtException* const copy = new (std::nothrow) ZtException(*this);
    if (!copy)
        ztThrowMemoryException(sizeof(ZtException));
    return copy;
}

void ZtException::doRaise() const {
    throw ZtException(*this);
}
