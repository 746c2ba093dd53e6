// The base of the library's exceptions.
#pragma once

#include <ztlib/ZtString.h>

/// An exception with a formatted message that can be copied to the heap and thrown again later.
class ZTLIB_API ZtException {
public:
    explicit ZtException(const ZtString& message);
    /// Formats the message by the rules of `printf`; a null format gives an empty message.
    explicit ZtException(const char* format, ...) ZT_FORMAT_CHECK(2, 3);
    ZtException(const ZtException& other);
    ZtException& operator=(const ZtException& other);
    virtual ~ZtException();

    /// The message; valid as long as the exception is.
    virtual const char* what() const;

    /// A copy on the heap, which the caller deletes.
    ZtException* clone() const;

    /// Throws this exception by `doRaise`. A class that overrides `doRaise` keeps its type.
    void raise() const;

protected:
    ZtException();

    virtual ZtException* doClone() const;
    virtual void doRaise() const;

    mutable ZtString message_;
};
