// Finds a text in a text.
#pragma once

#include <cstddef>

/// The first occurrence of the `m` characters at `wanted` in [first, last), or null. The empty text
/// is found at `first`.
const char* findText(const char* first, const char* last, const char* wanted, std::size_t m);
