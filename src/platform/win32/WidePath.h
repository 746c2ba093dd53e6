// Paths and names between the library's UTF-8 and the system's UTF-16.
#pragma once

#include <windows.h>

#include "platform/PlatformFaults.h"
#include "platform/PlatformFile.h"

namespace platform {

/// A UTF-8 path as the system takes it. Names of the system are any 16-bit units; those that are no
/// characters (half a surrogate pair) go both ways by the same bit pattern as characters would. A
/// path that is too long for the system's plain form is made absolute and gets the prefix of the
/// long one.
class WidePath {
public:
    /// Converts a path and, if `pattern` is given, adds a separator (unless the path is empty or
    /// ends with one) and the pattern.
    explicit WidePath(const char* path, const char* pattern = nullptr);
    ~WidePath();
    WidePath(const WidePath&) = delete;
    WidePath& operator=(const WidePath&) = delete;

    /// Returns the path, null when there is an error.
    const wchar_t* get() const { return text_; }
    /// Returns why there is none: the path is no UTF-8 or memory is exhausted.
    int error() const { return error_; }

private:
    wchar_t* text_ = nullptr;
    int error_ = 0;
};

/// Converts a name of the system; expects room for three bytes per unit and one more.
void toUtf8(const wchar_t* name, char* buffer);

/// The number of <cerrno> for an error of the system.
int errnoOf(DWORD error);

/// What an entry with these attributes (and this tag, if it is a reparse point) is.
EntryKind kindOfAttributes(DWORD attributes, DWORD tag);

/// Makes a call on a path that returns whether it succeeded; returns the error, 0 for success.
template <class Operation>
int errorOf(Call call, const WidePath& path, Operation operation) {
    if (const int fault = faultOf(call))
        return fault;
    if (path.error() != 0)
        return path.error();
    return operation(path.get()) ? 0 : errnoOf(GetLastError());
}

}  // namespace platform
