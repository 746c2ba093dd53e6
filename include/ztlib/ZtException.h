// The base class of the library's exceptions.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtFormatCheck.h>
#include <ztlib/ZtString.h>

/// An exception with a message. It can be carried elsewhere (`clone`) and thrown there (`raise`)
/// without losing its type, if the derived class overrides `doClone` and `doRaise`.
///
/// Copying never throws: a copy that finds no memory for the message has an empty one.
class ZTLIB_API ZtException {
public:
    /// An exception with that text.
    ZtException(const ZtString& text);

    /// Formats the message by the rules of `printf`; a null format gives an empty one.
    ZtException(const char* format, ...) ZT_FORMAT_CHECK(2, 3);

    ZtException(const ZtException& other) noexcept;
    ZtException& operator=(const ZtException& other) noexcept;
    virtual ~ZtException();

    /// Returns the message, which lives as long as the exception is neither changed nor destroyed.
    virtual const char* what() const;

    /// Returns a copy on the heap, made by `doClone`, which the caller deletes.
    ZtException* clone() const { return doClone(); }

    /// Throws a copy by `doRaise`; returns only if an override of `doRaise` does.
    void raise() const;

protected:
    /// An empty message, without taking memory.
    ZtException() noexcept;

    /// Returns a new copy of this object; override it to keep the derived type.
    virtual ZtException* doClone() const;

    /// Throws a copy of this object by value; override it to keep the derived type.
    virtual void doRaise() const;

    /// Mutable, since a derived `what` may write its message only when it is asked for.
    mutable ZtString message;
};
