// The alignment of point sets: to the last bit against the method step by step, and by what makes a
// transform the best one.
#include <ztlib/ZtAlignPointSets.h>

#include <cstring>
#include <functional>

#include "ContractCapture.h"
#include "Residual.h"

using oracle::Random;
using oracle::squareOf;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

ZtMat4f someMatrix() {
    return ZtMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 10, 0, 11, 12, 13, 1);
}

bool haveSameBits(const ZtMat4f& a, const ZtMat4f& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The method step by step, by operations of whole matrices.
class Steps {
public:
    Steps(const Points& p1, const Points& p2, const std::vector<float>& weights = {}) {
        const int n = static_cast<int>(p1.size());
        const auto weight = [&](std::size_t i) { return weights.empty() ? 1 : weights[i]; };
        float sumOfWeights = 0;
        for (std::size_t i = 0; i < p1.size(); ++i) {
            c1_ += p1[i] * weight(i);
            c2_ += p2[i] * weight(i);
            sumOfWeights += weight(i);
        }
        c1_ = c1_ * (1 / sumOfWeights);
        c2_ = c2_ * (1 / sumOfWeights);
        P_.resize(n, 3);
        Q_.resize(n, 3);
        for (int k = 0; k < 3 * n; ++k) {
            const auto i = static_cast<std::size_t>(k / 3);
            Q_(k / 3, k % 3) = p1[i][k % 3] - c1_[k % 3];
            P_(k / 3, k % 3) = (p2[i][k % 3] - c2_[k % 3]) * weight(i);
        }
    }

    ZtMat4f rigid(bool withScale) const {
        ZtDMatrix<float> H(P_), U, V;
        float w[3];
        (H.transpose() *= Q_).svd(U, w, V);
        ZtMat4f R = product(U, V);
        // Of equal ones the first is the smallest and the largest.
        const int imin = static_cast<int>(std::min_element(w, w + 3) - w);
        const int imax = static_cast<int>(std::max_element(w, w + 3) - w);
        if (w[imin] < 1e-5f && imin != imax) {
            for (ZtDMatrix<float>* m : {&U, &V}) {
                const ZtVec3f cross = column(*m, imax).cross(column(*m, 3 - imin - imax));
                for (int i = 0; i < 3; ++i)
                    (*m)(i, imin) = cross[i];
            }
        } else if (R.det3() < 0) {
            for (int i = 0; i < 3; ++i)
                U(i, imin) = -U(i, imin);
        }
        R = product(U, V);
        float rq = 0, rr = 0;
        for (int i = 0; withScale && i < P_.nRows(); ++i) {
            ZtVec3f r;
            R.multDirMatrix(ZtVec3f(P_[i]), r);
            rq += r.dot(ZtVec3f(Q_[i]));
            rr += r.dot(r);
        }
        const float s = rr == 0 ? 1 : rq / rr;
        for (int i = 0; i < 9; ++i)
            R[i / 3][i % 3] *= withScale ? s : 1;
        ZtMat4f byMatrices;
        ztCompRigidTransform(P_, Q_, c2_, c1_, byMatrices, withScale);
        EXPECT_TRUE(haveSameBits(composed(R), byMatrices));
        return byMatrices;
    }

    ZtMat4f affine() const {
        ZtDMatrix<float> N(P_), X(P_);
        N.transpose() *= P_;
        X.transpose() *= Q_;
        X.transpose();
        float* rhs[] = {X[0], X[1], X[2]};
        N.solveLRdecomp(rhs, 3);
        ZtMat4f linear = ZtMat4f::identity(), byMatrices;
        for (int i = 0; i < 9; ++i)
            linear[i / 3][i % 3] = X(i % 3, i / 3);
        ztCompAffineTransform(P_, Q_, c2_, c1_, byMatrices);
        EXPECT_TRUE(haveSameBits(composed(linear), byMatrices));
        return byMatrices;
    }

    ZtMat4f inMode(int mode) const { return mode == 2 ? affine() : rigid(mode == 1); }

private:
    static ZtVec3f column(const ZtDMatrix<float>& m, int j) {
        return ZtVec3f(m(0, j), m(1, j), m(2, j));
    }

    // (V U^T)^T
    static ZtMat4f product(const ZtDMatrix<float>& U, const ZtDMatrix<float>& V) {
        ZtDMatrix<float> product(V);
        product *= ZtDMatrix<float>(U).transpose();
        ZtMat4f R = ZtMat4f::identity();
        for (int i = 0; i < 9; ++i)
            R[i / 3][i % 3] = product(i % 3, i / 3);
        return R;
    }

    ZtMat4f composed(const ZtMat4f& linear) const {
        return ZtMat4f().setTranslate(-c2_) * linear * ZtMat4f().setTranslate(c1_);
    }

    ZtDMatrix<float> P_, Q_;
    ZtVec3f c1_, c2_;
};

ZtVec3d normalPoint(Random& random) {
    const double x = random.normal(), y = random.normal();
    return ZtVec3d(x, y, random.normal());
}

/// Partners of p2: turned, moved, scaled, mirrored perhaps, with noise perhaps.
Points partnersOf(const Points& p2, Random& random, double scale, double noise) {
    double size = 0;
    for (const ZtVec3f& p : p2)
        size = std::max(size, ZtVec3d(p - p2[0]).length());
    const Transform turn = rotationAbout(randomDirection(random), 3 * random.normal());
    const ZtVec3d move = randomDirection(random) * size;
    Points p1;
    for (const ZtVec3f& p : p2) {
        const ZtVec3d off = normalPoint(random) * noise * size;
        p1.push_back(ZtVec3f(image(turn, ZtVec3d(p)) * scale + off + move));
    }
    return p1;
}

TEST(AlignPointSets, IsTheMethodToTheLastBitAndTheBestProperTransform) {
    const auto general = [](double size, const ZtVec3d& centre) {
        return [=](Random& random, int) {
            const ZtVec3d p = normalPoint(random);
            return ZtVec3d(p.x, p.y * 2, p.z * 3) * size + centre;
        };
    };
    const auto octahedron = [](double size) {
        return [=](Random&, int k) {
            ZtVec3d p;
            p[k / 2] = k % 2 ? size : -size;
            return p;
        };
    };
    const struct {
        const char* name;
        std::function<ZtVec3d(Random&, int k)> point;
        int n = 0;  // 0: any number above 3
    } kinds[] = {
        {"general", general(10, ZtVec3d(1, 2, 3))},
        {"tiny", general(1e-4, ZtVec3d())},
        {"far away", general(100, ZtVec3d(1e6, -1e6, 2e6))},
        {"huge", general(1e17, ZtVec3d(1e16, 0, 0))},
        {"coplanar",
         [](Random& random, int) {
             return normalPoint(random).cross({0, 0, 1});
         }},
        {"collinear", [](Random& random, int) { return ZtVec3d(1, 2, -1) * random.normal(); }},
        {"three points", general(1, ZtVec3d(4, 5, 6)), 3},
        {"two points", general(1, ZtVec3d(4, 5, 6)), 2},
        {"single", general(1, ZtVec3d(4, 5, 6)), 1},
        {"coincident", [](Random&, int) { return ZtVec3d(1, 2, 3); }},
        {"octahedron", octahedron(1), 6},
        {"tiny octahedron", octahedron(1e-3), 6},
    };
    for (const auto& kind : kinds)
        oracle::inRounds(1, 40, [&](Random& random, int round) {
            SCOPED_TRACE(kind.name);
            const double mirror = round % 2 ? -1 : 1, noise = round % 4 < 2 ? 0 : 0.05;
            Points p2(static_cast<std::size_t>(kind.n ? kind.n : 4 + random.below(140)));
            for (int k = 0; ZtVec3f & p : p2)
                p = ZtVec3f(kind.point(random, k++));
            for (const int mode : {0, 1}) {
                const double scale = mode == 0 ? 1 : std::exp(random.normal() / 3);
                const Points p1 = partnersOf(p2, random, mirror * scale, noise);
                ZtMat4f result;
                ztAlignPointSets(result, p1.data(), p2.data(), static_cast<int>(p2.size()), mode);
                ASSERT_TRUE(haveSameBits(Steps(p1, p2).inMode(mode), result));
                const Transform transform = squareOf<4>(result);
                const double det = determinant(squareOf<3>(result)).first;
                ASSERT_GE(det, 0);
                const double found = mode == 1 ? std::cbrt(det) : 1;
                for (int i = 0; i < 9; ++i)
                    ASSERT_NEAR(i % 4 ? 0 : found * found,
                                ZtVec3d(transform[i / 3]).dot(ZtVec3d(transform[i % 3])),
                                4e-6 * (found * found + 1e-3));
                expectBest(transform, p1, p2, mode == 1 ? Freedom::kScale : Freedom::kRigid,
                           random);
            }
        });
}

TEST(AlignPointSets, FindsAffineMaps) {
    oracle::inRounds(2, 60, [](Random& random, int round) {
        const int n = 4 + random.below(40);
        Transform map = Transform::identity();
        for (int i = 0; i < 12; ++i)
            map[i / 3][i % 3] = random.normal();
        Points p1, p2;
        for (int k = 0; k < n; ++k) {
            p2.push_back(ZtVec3f(normalPoint(random)));
            const ZtVec3d noise = randomDirection(random) * (round % 2 ? 0.1 : 0);
            p1.push_back(ZtVec3f(image(map, ZtVec3d(p2.back())) + noise));
        }
        ZtMat4f result;
        CaptureStdout();
        ztAlignPointSets(result, p1.data(), p2.data(), n, 2);
        ASSERT_TRUE(haveSameBits(Steps(p1, p2).affine(), result));
        GetCapturedStdout();
        // The normal equations square the condition; well-spread sets keep their digits.
        if (n >= 12)
            expectBest(squareOf<4>(result), p1, p2, Freedom::kAffine, random);
    });
    // Where points are coplanar, the right hand sides are taken: here P^T Q about the centroids
    // (1, 1, 0) and (1, 1, 1).
    const Points p2 = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}};
    const Points p1 = {{1, 0, 0}, {1, 2, 0}, {1, 0, 2}, {1, 2, 2}};
    ZtMat4f result;
    CaptureStderr();
    ztAlignPointSets(result, p1.data(), p2.data(), 4, 2);
    EXPECT_EQ("ZtDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: 2 3\n", GetCapturedStderr());
    EXPECT_EQ(ZtMat4f(0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 1, -3, -3, 1), result);
}

TEST(AlignPointSets, WeighsAndIndexesAsOneSchemeInAllOverloads) {
    oracle::inRounds(3, 60, [](Random& random, int round) {
        const int n = 4 + random.below(30), mode = round % 3;
        Points a1(static_cast<std::size_t>(n + 3)), a2(static_cast<std::size_t>(n + 5)), p1, p2;
        std::vector<float> of1(a1.size()), of2(a2.size()), w1, w2, w;
        for (Points* points : {&a1, &a2})
            for (ZtVec3f& p : *points)
                p = ZtVec3f(normalPoint(random));
        for (std::vector<float>* weights : {&of1, &of2})
            for (float& weight : *weights)
                weight = static_cast<float>(random.below(100)) / 50;
        std::vector<int> idx1, idx2;
        for (int k = 0; k < n; ++k) {
            idx1.push_back(random.below(n + 3));
            idx2.push_back(random.below(n + 5));
            const auto at1 = static_cast<std::size_t>(idx1.back());
            const auto at2 = static_cast<std::size_t>(idx2.back());
            p1.push_back(a1[at1]);
            p2.push_back(a2[at2]);
            w1.push_back(of1[at1]);
            w2.push_back(of2[at2]);
            w.push_back(of1[at1] * of2[at2]);
        }
        const ZtMat4f post = someMatrix();
        const ZtVec3f *q1 = p1.data(), *q2 = p2.data(), *b1 = a1.data(), *b2 = a2.data();
        const int *i1 = idx1.data(), *i2 = idx2.data();
        ZtMat4f plain, results[5];
        CaptureStdout();
        ztAlignPointSets(plain, q1, q2, n, mode, &post);
        EXPECT_TRUE(haveSameBits(Steps(p1, p2).inMode(mode) * post, plain));
        ztAlignPointSets(results[0], b1, b2, i1, i2, n, mode, &post);
        EXPECT_TRUE(haveSameBits(plain, results[0]));
        ztAlignPointSets(results[1], q1, q2, w.data(), n, mode, &post);
        ztAlignPointSets(results[2], q1, q2, w1.data(), w2.data(), n, mode, &post);
        ztAlignPointSets(results[3], b1, b2, i1, i2, w.data(), n, mode, &post);
        ztAlignPointSets(results[4], b1, b2, i1, i2, of1.data(), of2.data(), n, mode, &post);
        const ZtMat4f weighted = Steps(p1, p2, w).inMode(mode);
        for (int i = 1; i < 5; ++i)
            EXPECT_TRUE(haveSameBits(weighted * post, results[i])) << i;
        GetCapturedStdout();
        if (mode == 0)
            expectBest(squareOf<4>(weighted), p1, p2, Freedom::kRigid, random, w);
        if (mode == 1) {  // the points p2 are weighted themselves
            const std::vector<float> ones(p1.size(), 1), twos(p1.size(), 2);
            ztAlignPointSets(results[0], q1, q2, ones.data(), n, 1, nullptr);
            ztAlignPointSets(results[1], q1, q2, twos.data(), n, 1, nullptr);
            EXPECT_NEAR(results[0].det3() / 8, results[1].det3(), 1e-5 * results[0].det3());
        }
    });
}

TEST(AlignPointSets, KeepsToWhatIsSaidOfSpecialCases) {
    const Points p = {{1, 2, 3}, {4, 5, 7}, {-1, 0, 2}, {3, 3, 3}};
    const float ones[] = {1, 1, 1, 1}, cancelling[] = {1, -1, 2, -2};
    const ZtMat4f m = someMatrix();
    ZtMat4f result;
    for (const int mode : {0, 1, 2, 7}) {
        SCOPED_TRACE(mode);
        for (const int n : {0, -3}) {
            result.makeNaN();
            ztAlignPointSets(result, nullptr, nullptr, n, mode, &m);
            EXPECT_TRUE(haveSameBits(m, result));
            ztAlignPointSets(result, nullptr, nullptr, nullptr, nullptr, ones, n, mode, nullptr);
            EXPECT_TRUE(result.isIdentity());
        }
        result = m;  // and `post` is what the result has become
        ztAlignPointSets(result, p.data(), p.data(), cancelling, 4, mode, &result);
        EXPECT_TRUE(result.isIdentity());
        result = m;
        ztAlignPointSets(result, p.data(), p.data(), 4, mode);
        if (mode == 7)
            EXPECT_TRUE(haveSameBits(m, result));
        else
            EXPECT_TRUE(result.equals(ZtMat4f::identity(), mode == 2 ? 1e-4f : 2e-6f));
    }
    result = m;
    ztAlignPointSets(result, p.data(), p.data(), 4, -1, &result);
    EXPECT_TRUE(haveSameBits(m * m, result));
    // Sums are in order and in single precision.
    const Points far = {{16777216, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 0, 0}};
    ztAlignPointSets(result, far.data(), Points(4).data(), 4, 0);
    EXPECT_EQ(4194304.f, result[3][0]);
}

TEST(AlignPointSets, SurvivesWhatIsNoNumber) {
    for (const float bad : {std::numeric_limits<float>::infinity(), 1e30f, oracle::kNaN})
        for (const int mode : {0, 1, 2}) {
            const Points p = {{1, 2, 3}, {4, bad, 7}, {-1, 0, 2}, {3, 3, 3}};
            ZtMat4f result;
            CaptureStdout();
            CaptureStderr();
            ztAlignPointSets(result, p.data(), p.data(), 4, mode);
            GetCapturedStderr();
            const std::string output = GetCapturedStdout();
            EXPECT_EQ(mode < 2, output == "no convergence in 30 svd iterations \n") << output;
        }
    ZtMat4f result = someMatrix();
    const ZtDMatrix<float> wide(2, 4), narrow(2, 3);
    const auto compute = [&] {
        ztCompRigidTransform(narrow, wide, ZtVec3f(), ZtVec3f(), result, 0);
    };
    if (kChecked) {
        ContractCapture capture;
        EXPECT_THROW(compute(), BrokenContract);
    } else {
        CaptureStderr();
        compute();
        EXPECT_EQ("ztCompRigidTransform: needs two n x 3 matrices, not 2x3 and 2x4.\n",
                  GetCapturedStderr());
    }
    EXPECT_TRUE(haveSameBits(someMatrix(), result));
}

}  // namespace
