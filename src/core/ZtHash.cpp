// Hash values of texts, buckets and probe steps, prime table sizes.
#include <ztlib/ZtHash.h>

#include <climits>

namespace {

unsigned wrap(int value) {
    return static_cast<unsigned>(value);
}

// Remainder with the sign of the dividend, defined for every divisor.
int truncatedRemainder(int dividend, int m) {
    return m == 0 || m == -1 ? 0 : dividend % m;
}

// x * a + y modulo 2^32, as a signed number.
int multiplyAdd(int x, int a, int y) {
    return static_cast<int>(wrap(x) * wrap(a) + wrap(y));
}

int stepOf(int bucket, int m) {
    return static_cast<int>(wrap(m) - wrap(bucket));
}

bool hasOddDivisor(int candidate) {
    for (long long d = 3; d * d <= candidate; d += 2)
        if (candidate % d == 0)
            return true;
    return false;
}

}  // namespace

int zt_hash(const char* text) {
    unsigned h = 0;
    if (text)
        for (; *text; ++text)
            h = 9 * h + wrap(static_cast<signed char>(*text));
    return static_cast<int>(h);
}

int hash(int key, int, int m) {
    return truncatedRemainder(key, m);
}

int hash(const ZtVec2i& v, int a, int m) {
    return truncatedRemainder(multiplyAdd(v.x, a, v.y), m);
}

int hash(const ZtVec3i& v, int a, int m) {
    return truncatedRemainder(multiplyAdd(hash(ZtVec2i(v.x, v.y), a, m), a, v.z), m);
}

int hash2(int key, int m) {
    return stepOf(hash(key, m, m), m);
}

int hash2(const ZtVec2i& v, int m) {
    return stepOf(hash(v, m, m), m);
}

int hash2(const ZtVec3i& v, int m) {
    return stepOf(hash(v, m, m), m);
}

int computePrime(int n) {
    const long long start = (static_cast<long long>(n) + n / 3) | 1;
    if (start >= INT_MAX)
        return INT_MAX;
    if (start <= INT_MIN)
        return INT_MIN + 1;
    // The largest int is a prime, so the search ends before the candidate can overflow.
    int candidate = static_cast<int>(start);
    while (hasOddDivisor(candidate))
        candidate += 2;
    return candidate;
}
