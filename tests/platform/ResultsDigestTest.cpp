// Results are the same to the last bit on every system: their digests, as computed on 64-bit Linux.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "PublicHeaders.h"
#include "Random.h"

namespace {

// The 64-bit digest of Fowler, Noll and Vo (FNV-1a) of the bytes of numbers, lowest byte first.
class Digest {
public:
    template <class... Numbers>
    void add(Numbers... numbers) {
        static_assert((std::is_arithmetic_v<Numbers> && ...));
        (addBytes(&numbers, sizeof numbers), ...);
    }
    template <class T>
    void addAll(const T* numbers, int count) {
        addBytes(numbers, sizeof(T) * static_cast<std::size_t>(count));
    }
    std::uint64_t value() const { return value_; }

private:
    void addBytes(const void* bytes, std::size_t count) {
        const auto* const each = static_cast<const unsigned char*>(bytes);
        for (std::size_t i = 0; i < count; ++i)
            value_ = (value_ ^ each[i]) * 0x100000001b3u;
    }

    std::uint64_t value_ = 0xcbf29ce484222325u;
};

// Only the engine's own numbers: the standard's distributions differ between libraries.
class Numbers {
public:
    unsigned next() { return random_.bits(); }
    float fraction() { return static_cast<float>(next() >> 8) / 16777216.0f; }
    /// Of widely spread magnitudes, both signs.
    float spread() {
        const float scale = static_cast<float>(1u << next() % 31);
        const float magnitude = fraction() * scale;
        return next() % 2 ? -magnitude : magnitude;
    }
    // Braces: their arguments are evaluated in order.
    ZtVec3f point() { return ZtVec3f{fraction(), fraction(), fraction()}; }
    ZtVec3f spreadPoint() { return ZtVec3f{spread(), spread(), spread()}; }

private:
    Random random_{20240229};
};

class ResultsDigest : public testing::Test {
protected:
    Numbers numbers;
    Digest digest;
};

TEST_F(ResultsDigest, Vectors) {
    for (int i = 0; i < 5000; ++i) {
        ZtVec3f a = numbers.spreadPoint();
        const ZtVec3f b = numbers.spreadPoint();
        const ZtVec3f c = a.cross(b) * numbers.fraction() - b / 3.0f;
        digest.add(a.dot(b), a.length());
        digest.add(a.normalize());
        ZtVec4f d(a.x, c.y, b.z, numbers.spread());
        ZtVec2f e(c.x, a.y);
        ZtVec3d f(c);
        digest.add(d.normalize());
        digest.add(e.normalize());
        digest.add(f.normalize());
        digest.add(a.x, a.y, a.z, c.x, c.y, c.z, d.x, d.w, e.x, e.y, f.x + f.y * f.z);
    }
    EXPECT_EQ(9840686235646515760u, digest.value());
}

TEST_F(ResultsDigest, MatricesAndRotations) {
    std::vector<ZtVec3f> points(37);
    for (int i = 0; i < 2000; ++i) {
        for (ZtVec3f& point : points)
            point = numbers.point() - ZtVec3f(0.5f, 0.5f, 0.5f);
        ZtRotation r(points[0], 6 * numbers.fraction());
        const ZtRotation so(points[1], points[2]);
        ZtMat4f m;
        m.setTransform(points[3], r, points[4], so, points[5]);
        ZtVec3f t, s;
        ZtRotation r2, so2;
        m.getTransform(t, r2, s, so2);
        m.multVecMatrix(points.data(), points.data(), static_cast<int>(points.size()));
        digest.addAll(points[0].getValue(), 3 * static_cast<int>(points.size()));
        for (const ZtMat4f& matrix : {m, m.inverse(), (m * m.transpose()).inverse()})
            digest.addAll(matrix[0], 16);
        digest.add(m.det4());
        float values[3];
        ZtVec3f vectors[3];
        int rotations;
        m.jacobi3(values, vectors, rotations);
        digest.addAll(values, 3);
        digest.addAll(vectors[1].getValue(), 3);
        digest.add(rotations);
        digest.addAll(ZtMat3f(points[6], points[7], points[8]).inverse()[0], 9);
        const ZtRotation path = ZtRotation::slerp(r, so, numbers.fraction());
        for (const ZtRotation& rotation : {r, so, r2, so2, path, r * so, r *= so, so.inverse(),
                                           ZtRotation(points[0], points[1], points[2], points[3])})
            digest.addAll(rotation.getValue(), 4);
        digest.add(t.x, t.y, t.z, s.x, s.y, s.z);
    }
    EXPECT_EQ(12783517590479254597u, digest.value());
}

TEST_F(ResultsDigest, DenseMatricesAndAlignment) {
    for (int n = 0; n < 60; ++n) {
        ZtDMatrix<float> a(n, n), u, v;
        ZtDMatrix<float> x(1, n), w(1, n);
        for (ZtDMatrix<float>* m : {&a, &x})
            for (int i = 0; i < m->nRows() * n; ++i)
                m->dataPtr()[i] = numbers.fraction() - 0.5f;
        float* rhs[] = {x.dataPtr()};
        digest.add(a.solveLRdecomp(rhs, 1));
        digest.add(a.svd(u, w.dataPtr(), v));
        a *= u;
        for (const ZtDMatrix<float>* m : {&x, &w, &a, &v})
            digest.addAll(m->dataPtr(), m->nRows() * n);
        std::vector<ZtVec3f> p1, p2;
        for (int k = 0; k < n; ++k) {
            p1.push_back(numbers.spreadPoint());
            p2.push_back(numbers.spreadPoint());
        }
        ZtMat4f m;
        ztAlignPointSets(m, p1.data(), p2.data(), n, n % 3);
        digest.addAll(m[0], 16);
    }
    EXPECT_EQ(12720118272577206163u, digest.value());
}

}  // namespace
