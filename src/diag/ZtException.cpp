// The base class of the library's exceptions.
#include <ztlib/ZtException.h>
#include <ztlib/ZtMemory.h>

#include <cstdarg>
#include <cstring>
#include <new>

#include "core/Allocation.h"

ZtException::ZtException() : message_(short_), short_{} {}

ZtException::ZtException(const ZtString& message) : ZtException() {
    setMessage(message.getString());
}

ZtException::ZtException(const char* format, ...) : ZtException() {
    if (!format)
        return;
    ZtString text;
    va_list arguments;
    va_start(arguments, format);
    try {
        text.vprintf(format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
    setMessage(text.getString());
}

ZtException::ZtException(const ZtException& other) noexcept : ZtException() {
    setMessage(other.message_);
}

ZtException& ZtException::operator=(const ZtException& other) noexcept {
    if (this != &other)
        setMessage(other.message_);
    return *this;
}

ZtException::~ZtException() {
    if (message_ != short_)
        ztfree(message_);
}

const char* ZtException::what() const {
    return message_;
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

void ZtException::setMessage(const char* text) const noexcept {
    std::size_t length = text ? std::strlen(text) : 0;
    char* target = short_;
    if (length >= kShortSize) {
        if (void* const block = allocation::allocateOrNull(length + 1))
            target = static_cast<char*>(block);
        else
            length = kShortSize - 1;
    }
    // The text may lie in the old message, which goes last.
    if (length > 0)
        std::memmove(target, text, length);
    target[length] = '\0';
    if (message_ != short_)
        ztfree(message_);
    message_ = target;
}
