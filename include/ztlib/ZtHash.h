// Hash values, probe steps and prime table sizes for hash tables.
#pragma once

#include <ztlib/TrDeployMD5.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec2i.h>
#include <ztlib/ZtVec3i.h>
#include <ztlib/ZtVec4i.h>

// Hash values are cheap rather than well spread: integers are their own hash value, and vectors
// keep the low five bits of each coordinate. None of these functions holds state.

/// h = 9 h + c over the characters, each taken as a signed byte, modulo 2^32; 0 for the empty text
/// and for null.
ZTLIB_API int zt_hash(const char* text);

/// The low 32 bits of an integer of any width.
constexpr int zt_hash(unsigned long long key) {
    return static_cast<int>(static_cast<unsigned>(key));
}
constexpr int zt_hash(long long key) {
    return zt_hash(static_cast<unsigned long long>(key));
}
constexpr int zt_hash(unsigned long key) {
    return zt_hash(static_cast<unsigned long long>(key));
}
constexpr int zt_hash(long key) {
    return zt_hash(static_cast<unsigned long long>(key));
}
constexpr int zt_hash(unsigned int key) {
    return static_cast<int>(key);
}
constexpr int zt_hash(int key) {
    return key;
}

/// The low five bits of each coordinate side by side, x highest: 0 to 1023 for two coordinates, to
/// 2^15 - 1 for three, to 2^20 - 1 for four.
constexpr int zt_hash(const ZtVec2i& key) {
    return (key.x & 31) << 5 | (key.y & 31);
}
constexpr int zt_hash(const ZtVec3i& key) {
    return (key.x & 31) << 10 | (key.y & 31) << 5 | (key.z & 31);
}
constexpr int zt_hash(const ZtVec4i& key) {
    return (key.x & 31) << 15 | (key.y & 31) << 10 | (key.z & 31) << 5 | (key.w & 31);
}

/// The first four bytes of the digest, the lowest first.
constexpr int zt_hash(const TrDeploy::MD5& key) {
    return zt_hash(
        static_cast<unsigned>(key.digest[0]) | static_cast<unsigned>(key.digest[1]) << 8 |
        static_cast<unsigned>(key.digest[2]) << 16 | static_cast<unsigned>(key.digest[3]) << 24);
}

/// The bucket of a key in a table of `m` buckets: the remainder of the key, of v.x a + v.y, or of
/// ((v.x a + v.y) mod m) a + v.z, in 32-bit arithmetic that wraps. The remainder takes the sign of
/// the dividend, so keys should not be negative. 0 when `m` is 0.
ZTLIB_API int hash(int key, int multiplier, int m);
ZTLIB_API int hash(const ZtVec2i& v, int a, int m);
ZTLIB_API int hash(const ZtVec3i& v, int a, int m);

/// The probe step of a key for double hashing in a table of `m` buckets: m - hash(key, m, m), which
/// lies in 1 .. m for keys that hash to no negative value. A step of `m` itself, which every key of
/// bucket 0 has, stays in its bucket.
ZTLIB_API int hash2(int key, int m);
ZTLIB_API int hash2(const ZtVec2i& v, int m);
ZTLIB_API int hash2(const ZtVec3i& v, int m);

/// A prime number of buckets for about `n` entries: the first of the odd numbers from n + n / 3 on
/// that no odd number from 3 up to its square root divides. That is 1 for 0 and 1; a negative start
/// is returned as it is. Results beyond the range of int are cut to the largest int, itself a prime
/// (or to the smallest odd one). Costs some trial divisions by all odd numbers below sqrt(4 n / 3).
ZTLIB_API int computePrime(int n);
