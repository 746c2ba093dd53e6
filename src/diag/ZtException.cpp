// The exception base class: message, copies on the heap, throwing again.
#include <ztlib/ZtException.h>

#include <cstdarg>

ZtException::ZtException() = default;

ZtException::ZtException(const ZtString& message) : message_(message) {}

ZtException::ZtException(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    message_.vprintf(format ? format : "", arguments);
    va_end(arguments);
}

ZtException::ZtException(const ZtException& other) = default;

ZtException& ZtException::operator=(const ZtException& other) = default;

ZtException::~ZtException() = default;

const char* ZtException::what() const {
    return message_.getString();
}

ZtException* ZtException::clone() const {
    return doClone();
}

ZtException* ZtException::doClone() const {
    return new ZtException(*this);
}

void ZtException::doRaise() const {
    throw ZtException(*this);
}

void ZtException::raise() const {
    doRaise();
}
