// The base class of the library's exceptions.
#include <ztlib/ZtException.h>

#include <ztlib/ZtMemory.h>

#include <cstdarg>
#include <new>

ZtException::ZtException() noexcept : message(ZtString::WithoutBuffer{}) {}

ZtException::ZtException(const ZtString& text) : message(text) {}

ZtException::ZtException(const char* format, ...) : ZtException() {
    if (!format)
        return;
    // Exhausted memory leaves the argument list open, which costs nothing on any of our systems.
    va_list arguments;
    va_start(arguments, format);
    message.vprintf(format, arguments);
    va_end(arguments);
}

ZtException::ZtException(const ZtException& other) noexcept : ZtException() {
    *this = other;
}

ZtException& ZtException::operator=(const ZtException& other) noexcept {
    try {
        message = other.message;
    } catch (...) {
        message.removeLast(message.length());
    }
    return *this;
}

ZtException::~ZtException() = default;

const char* ZtException::what() const {
    const ZtString& text = message;  // the other form of the getter may take memory
    return text.getString();
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
