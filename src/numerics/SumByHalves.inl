// The sum of a vector's elements, the upper half being added to the lower one until one is left.

namespace numerics {
namespace {

typedef float Float4 __attribute__((vector_size(16)));
typedef double Double2 __attribute__((vector_size(16)));

inline float sumByHalves(const Float4& v) {
    return (v[0] + v[2]) + (v[1] + v[3]);
}

inline double sumByHalves(const Double2& v) {
    return v[0] + v[1];
}

#if defined(__AVX2__)

typedef float Float8 __attribute__((vector_size(32)));
typedef double Double4 __attribute__((vector_size(32)));

inline float sumByHalves(const Float8& v) {
    return sumByHalves(__builtin_shufflevector(v, v, 0, 1, 2, 3) +
                       __builtin_shufflevector(v, v, 4, 5, 6, 7));
}

inline double sumByHalves(const Double4& v) {
    return sumByHalves(__builtin_shufflevector(v, v, 0, 1) + __builtin_shufflevector(v, v, 2, 3));
}

#endif
#if defined(__AVX512F__)

typedef float Float16 __attribute__((vector_size(64)));
typedef double Double8 __attribute__((vector_size(64)));

inline float sumByHalves(const Float16& v) {
    return sumByHalves(__builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7) +
                       __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15));
}

inline double sumByHalves(const Double8& v) {
    return sumByHalves(__builtin_shufflevector(v, v, 0, 1, 2, 3) +
                       __builtin_shufflevector(v, v, 4, 5, 6, 7));
}

#endif

}  // namespace
}  // namespace numerics
