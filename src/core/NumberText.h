// Numbers as text, the same in every locale.
#pragma once

namespace numbertext {

/// The number of characters of the decimal text of `value`, at most 20.
int lengthOf(long long value);

/// Writes that text, whose length is `length`, without a terminator.
void write(char* out, int length, long long value);

/// Room for what `writeReal` writes.
inline constexpr int kMostRealCharacters = 32;

/// Writes a floating-point number with at most `digits` (1 to 17) significant digits, as printf's
/// "%g" does in the C locale, without a terminator. Returns the end of the text.
char* writeReal(char* out, double value, int digits);

/// Reads a decimal integer at the start of a zero-terminated text: white space, a sign, digits.
/// Clamps it to the range of `long long`. Returns false, and 0, when there are no digits.
bool read(const char* text, long long& value);

/// The same, clamped to the range of `int`.
bool read(const char* text, int& value);

/// Reads a floating-point number at the start of [first, last) as scanf's "%f" does in the C
/// locale: white space, a sign, then decimal digits, hexadecimal digits after "0x", "inf",
/// "infinity" or "nan", in any case. Too large gives infinity, too small 0, each with the sign.
/// Returns false, and 0, when there is no number.
bool read(const char* first, const char* last, float& value);

/// The same in double precision.
bool read(const char* first, const char* last, double& value);

}  // namespace numbertext
