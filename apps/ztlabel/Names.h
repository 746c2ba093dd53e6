// Names of the values of a label field.
#pragma once

#include <ztlib/ZtString.h>

#include <string>
#include <unordered_map>

namespace ztlabel {

/// Reads a text file with a line for each value: the value, a blank, tab or comma, the name. Empty
/// lines and those that start with '#' are passed over. Where every line has more columns of
/// numbers behind a one-word name (as atlas lists and colour tables have: a code, or red, green,
/// blue and opacity), these are left out; otherwise a name is the rest of its line.
class Names {
public:
    Names() = default;
    /// Throws Failure when the file cannot be read or holds no names.
    explicit Names(const std::string& path);

    bool isEmpty() const { return names_.empty(); }
    /// The name of a value, or the empty text.
    ZtString of(double value) const;

private:
    std::unordered_map<long long, ZtString> names_;
};

}  // namespace ztlabel
