// Numbers as text, the same in every locale: decimal integers are printed and read, floating-point
// numbers are read.
#pragma once

namespace numbertext {

/// The most characters that a 64-bit integer takes: a sign and 19 digits.
inline constexpr int kMaxIntText = 20;

/// Writes the decimal digits of `value` to `out`, without a terminator, and returns their number,
/// at most `kMaxIntText`.
int writeInt(char* out, long long value);

/// Reads a decimal integer at the start of a zero-terminated text: white space, a sign, digits.
/// Clamps it to the range of `long long`. Returns false, and 0, when there are no digits.
bool readInt(const char* text, long long& value);

/// The same, clamped to the range of `int`.
bool readInt(const char* text, int& value);

/// Reads a floating-point number at the start of [first, last) as scanf's "%f" does in the C
/// locale: white space, a sign, then decimal digits, hexadecimal digits after "0x", "inf",
/// "infinity" or "nan", in any case. Too large gives infinity, too small 0, each with the sign.
/// Returns false, and 0, when there is no number.
bool readFloat(const char* first, const char* last, float& value);

/// The same in double precision.
bool readFloat(const char* first, const char* last, double& value);

}  // namespace numbertext
