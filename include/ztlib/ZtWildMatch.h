// ztWildMatch: matches a text against a pattern with `*` and `?`.
#pragma once

#include <ztlib/ZtExport.h>

/// Whether `text` matches `pattern` (1 or 0): `*` stands for any run of characters, `?` for any
/// one, every other character for itself, case included. A null pointer counts as the empty text.
///
/// One pass without going back: after a `*` a text character that does not fit is skipped, and the
/// rest of the pattern starts anew behind it, so "aab" does not match "*ab". A pattern that is used
/// up matches whatever text is left when it ends in `*` or `?`, so "abc" matches "a?". Where this
/// is not wanted, as for file names, use a matcher that tries again. Linear in the text's length.
ZTLIB_API int ztWildMatch(const char* text, const char* pattern);
