// Results are the same to the last bit on every system: their digests, as computed on 64-bit Linux.
#include <gtest/gtest.h>
#include <ztlib/ZtAlignPointSets.h>
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtCutBoxPlane.h>
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtHash.h>
#include <ztlib/ZtLine.h>
#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtPlane.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtSphere.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtVec2f.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>
#include <ztlib/ZtVec4f.h>

#include <cstdint>
#include <type_traits>
#include <vector>

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

TEST_F(ResultsDigest, PickingAndCutting) {
    // Misses leave NaN, whose sign is the processor's affair; hits are digested.
    const auto addIf = [this](bool hit, const ZtVec3f& v) {
        digest.add(hit);
        if (hit)
            digest.add(v.x, v.y, v.z);
    };
    for (int i = 0; i < 5000; ++i) {
        ZtVec3f p[6];
        for (ZtVec3f& point : p)
            point = numbers.point();
        const ZtPlane plane(p[0], p[1], p[2]);
        const ZtLine line(p[3], p[4]);
        const ZtBox3f box(0.2f, 0.8f, 0.3f, 0.7f, 0.1f, 0.9f);
        ZtVec3f a, b;
        bool front;
        bool hit = plane.isValid();
        addIf(hit, plane.getProjectedPoint(p[5]));
        hit = plane.intersect(line, a);
        addIf(hit, a);
        hit = line.getClosestPoints(ZtLine(p[0], p[1]), a, b);
        addIf(hit, a + b);
        hit = line.intersect(0.1f, p[0], p[1], a);
        addIf(hit, a);
        hit = line.intersect(box, a, b);
        addIf(hit, a - b);
        hit = line.intersect(p[0], p[1], p[2], a, b, front);
        addIf(hit, a + b);
        hit = ZtSphere(p[5], 0.5f).intersect(line, a, b);
        addIf(hit, a + b);
        digest.add(line.intersect(-0.1f, box));
        ZtVec3f v[6], w[6];
        const float box2[6] = {0, 2, 0, 3, 0, 4};
        const ZtCutBoxPlane cutter(box.getValue(), box2, p[0] - p[1]);
        const int count = cutter.cutPlane(p[2], v, w);
        digest.add(count);
        for (int k = 0; k < count; ++k)
            addIf(true, v[k] - w[k]);
    }
    EXPECT_EQ(1613535807224824159u, digest.value());
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

TEST_F(ResultsDigest, ConnectedComponents) {
    namespace cc = ZtConnectedComponents;
    const int dims[3] = {131, 40, 23};
    constexpr int kCount = 131 * 40 * 23;
    std::vector<float> values(kCount);
    std::vector<unsigned char> field(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        values[i] = numbers.fraction();
        // Mostly as its neighbour, so that pieces of some size come out.
        field[i] = i > 0 && numbers.next() % 8 ? field[i - 1]
                                               : static_cast<unsigned char>(numbers.next() % 3);
    }
    ZtDArray<cc::Component> list;
    for (const int connectivity : {4, 6, 8, 10, 18, 26, 7}) {
        for (const double threshold : {0.3, 0.5, 0.9}) {
            std::vector<unsigned short> labels(kCount);
            unsigned short* out = labels.data();
            digest.add(cc::labelCC(ZtTypedPointer(values.data()), dims, connectivity, out, 0,
                                   connectivity == 7 ? 0.9 : threshold, 0.95, 0, 0, &list,
                                   nullptr));
            digest.addAll(labels.data(), kCount);
            for (const cc::Component& piece : list)
                digest.add(piece.numVoxels, piece.mark, piece.sumX, piece.sumY, piece.sumZ);
        }
        std::vector<int> pieces(kCount);
        digest.add(cc::labelLabelsHuge(field.data(), dims, connectivity, pieces.data(), 0, 0, list,
                                       nullptr));
        digest.addAll(pieces.data(), kCount);
        for (const cc::Component& piece : list)
            digest.add(piece.sumX + piece.sumY + piece.sumZ);
    }
    EXPECT_EQ(8986831942742291019u, digest.value());
}

TEST_F(ResultsDigest, NumbersAndHashes) {
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t high = numbers.next();
        const long long wide = static_cast<long long>(high << 32 | numbers.next());
        const ZtString text = ZtString::fromInt64(wide >> numbers.next() % 64);
        digest.add(zt_hash(text), text.toInt64(), text.toFloat());
        digest.add(hash2(ZtVec3i(static_cast<int>(numbers.next() % 5000), i, -i), 137));
        digest.add(computePrime(static_cast<int>(numbers.next() % 100000)));
    }
    EXPECT_EQ(1530334671567918099u, digest.value());
}

}  // namespace
