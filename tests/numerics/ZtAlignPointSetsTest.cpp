// The alignment of point sets: to the last bit against the method step by step, and by what makes a
// transform the best one.
#include <ztlib/ZtAlignPointSets.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

#include "ContractCapture.h"
#include "Residual.h"

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
    Steps(const Points& p1, const Points& p2, const std::vector<float>* weights) {
        const int n = static_cast<int>(p1.size());
        ZtVec3f sum1, sum2;
        float sumOfWeights = 0;
        for (int k = 0; k < n; ++k) {
            const std::size_t i = static_cast<std::size_t>(k);
            sum1 += weights ? p1[i] * (*weights)[i] : p1[i];
            sum2 += weights ? p2[i] * (*weights)[i] : p2[i];
            sumOfWeights += weights ? (*weights)[i] : 1;
        }
        c1_ = sum1 * (1 / sumOfWeights);
        c2_ = sum2 * (1 / sumOfWeights);
        P_.resize(n, 3);
        Q_.resize(n, 3);
        for (int k = 0; k < n; ++k)
            for (int j = 0; j < 3; ++j) {
                const std::size_t i = static_cast<std::size_t>(k);
                Q_(k, j) = p1[i][j] - c1_[j];
                P_(k, j) = (p2[i][j] - c2_[j]) * (weights ? (*weights)[i] : 1);
            }
    }

    ZtMat4f rigid(bool withScale) const {
        ZtMat4f byMatrices;
        ztCompRigidTransform(P_, Q_, c2_, c1_, byMatrices, withScale);
        ZtDMatrix<float> H(P_), U, V;
        float w[3];
        (H.transpose() *= Q_).svd(U, w, V);
        ZtMat4f R = product(U, V);
        int imin = 0, imax = 0;
        if (w[0] > w[1])
            imin = 1;
        if (w[1] > w[0])
            imax = 1;
        if (w[imin] > w[2])
            imin = 2;
        if (w[2] > w[imax])
            imax = 2;
        if (!(R.det3() >= 0 && w[imin] >= 1e-5f)) {
            if (w[imin] < 1e-5f && imin != imax) {
                for (ZtDMatrix<float>* m : {&U, &V}) {
                    const ZtVec3f cross = column(*m, imax).cross(column(*m, 3 - imin - imax));
                    for (int i = 0; i < 3; ++i)
                        (*m)(i, imin) = cross[i];
                }
                R = product(U, V);
            } else if (R.det3() < 0) {
                for (int i = 0; i < 3; ++i)
                    U(i, imin) = -U(i, imin);
                R = product(U, V);
            }
        }
        float rq = 0, rr = 0;
        for (int i = 0; withScale && i < P_.nRows(); ++i) {
            ZtVec3f r;
            R.multDirMatrix(ZtVec3f(P_(i, 0), P_(i, 1), P_(i, 2)), r);
            rq += r.dot(ZtVec3f(Q_(i, 0), Q_(i, 1), Q_(i, 2)));
            rr += r.dot(r);
        }
        const float s = rr == 0 ? 1 : rq / rr;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                R[i][j] *= withScale ? s : 1;
        const ZtMat4f result = composed(R);
        EXPECT_TRUE(haveSameBits(result, byMatrices));
        return result;
    }

    ZtMat4f affine() const {
        ZtMat4f byMatrices;
        ztCompAffineTransform(P_, Q_, c2_, c1_, byMatrices);
        ZtDMatrix<float> N(P_), X(P_);
        N.transpose() *= P_;
        X.transpose() *= Q_;
        X.transpose();
        float* rhs[] = {X[0], X[1], X[2]};
        N.solveLRdecomp(rhs, 3);
        ZtMat4f linear = ZtMat4f::identity();
        for (int r = 0; r < 3; ++r)
            for (int j = 0; j < 3; ++j)
                linear[r][j] = X(j, r);
        const ZtMat4f result = composed(linear);
        EXPECT_TRUE(haveSameBits(result, byMatrices));
        return result;
    }

private:
    static ZtVec3f column(const ZtDMatrix<float>& m, int j) {
        return ZtVec3f(m(0, j), m(1, j), m(2, j));
    }

    // (V U^T)^T
    static ZtMat4f product(const ZtDMatrix<float>& U, const ZtDMatrix<float>& V) {
        ZtDMatrix<float> product(V);
        (product *= ZtDMatrix<float>(U).transpose()).transpose();
        ZtMat4f R = ZtMat4f::identity();
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                R[i][j] = product(i, j);
        return R;
    }

    ZtMat4f composed(const ZtMat4f& linear) const {
        return ZtMat4f().setTranslate(-c2_) * linear * ZtMat4f().setTranslate(c1_);
    }

    ZtDMatrix<float> P_, Q_;
    ZtVec3f c1_, c2_;
};

/// A way to make n points.
struct Kind {
    const char* name;
    std::function<ZtVec3d(std::mt19937&, int k)> point;
    int n;  // 0: any number above 3
};

double normal(std::mt19937& random) {
    return std::normal_distribution<double>()(random);
}

const std::vector<Kind>& kinds() {
    const auto general = [](double size, const ZtVec3d& centre) {
        return [=](std::mt19937& random, int) {
            return ZtVec3d(normal(random), normal(random) * 2, normal(random) * 3) * size + centre;
        };
    };
    static const std::vector<Kind> all = {
        {"general", general(10, ZtVec3d(1, 2, 3)), 0},
        {"tiny", general(1e-4, ZtVec3d()), 0},
        {"far away", general(100, ZtVec3d(1e6, -1e6, 2e6)), 0},
        {"huge", general(1e17, ZtVec3d(1e16, 0, 0)), 0},
        {"coplanar",
         [](std::mt19937& random, int) { return ZtVec3d(normal(random), normal(random), 0); }, 0},
        {"collinear", [](std::mt19937& random, int) { return ZtVec3d(1, 2, -1) * normal(random); },
         0},
        {"three points", general(1, ZtVec3d(4, 5, 6)), 3},
        {"two points", general(1, ZtVec3d(4, 5, 6)), 2},
        {"single", general(1, ZtVec3d(4, 5, 6)), 1},
        {"coincident", [](std::mt19937&, int) { return ZtVec3d(1, 2, 3); }, 0},
        {"octahedron",
         [](std::mt19937&, int k) {
             ZtVec3d p;
             p[k / 2] = k % 2 ? 1 : -1;
             return p;
         },
         6},
        {"tiny octahedron",
         [](std::mt19937&, int k) {
             ZtVec3d p;
             p[k / 2] = k % 2 ? 1e-3 : -1e-3;
             return p;
         },
         6},
    };
    return all;
}

/// Partners of p2: turned, moved, scaled, mirrored perhaps, with noise perhaps.
Points partnersOf(const Points& p2, std::mt19937& random, double scale, bool mirrored,
                  double noise) {
    double size = 0;
    for (const ZtVec3f& p : p2)
        size = std::max(size, ZtVec3d(p - p2[0]).length());
    const Transform turn = rotationAbout(randomDirection(random), 3 * normal(random));
    const ZtVec3d move = randomDirection(random) * size;
    Points p1;
    for (const ZtVec3f& p : p2) {
        const ZtVec3d q = turn(ZtVec3d(p)) * (mirrored ? -scale : scale);
        const ZtVec3d off = ZtVec3d(normal(random), normal(random), normal(random)) * noise * size;
        p1.push_back(ZtVec3f(q + off + move));
    }
    return p1;
}

TEST(AlignPointSets, IsTheMethodToTheLastBitAndTheBestProperTransform) {
    std::mt19937 random(1);
    for (const Kind& kind : kinds())
        for (int trial = 0; trial < 40; ++trial) {
            const bool mirrored = trial % 2;
            const double noise = trial % 4 < 2 ? 0 : 0.05;
            SCOPED_TRACE(std::string(kind.name) + ", trial " + std::to_string(trial) +
                         (mirrored ? ", mirrored" : "") + (noise > 0 ? ", noisy" : ""));
            const int n = kind.n ? kind.n : 4 + static_cast<int>(random() % 40);
            Points p2;
            for (int k = 0; k < n; ++k)
                p2.push_back(ZtVec3f(kind.point(random, k)));
            const double scale = std::exp(normal(random) / 3);
            for (const int mode : {0, 1}) {
                const Points p1 = partnersOf(p2, random, mode == 1 ? scale : 1, mirrored, noise);
                ZtMat4f result;
                ztAlignPointSets(result, p1.data(), p2.data(), n, mode);
                ASSERT_TRUE(haveSameBits(Steps(p1, p2, nullptr).rigid(mode == 1), result));
                const Transform transform(result);
                const double det = transform.determinant();
                ASSERT_GE(det, 0);
                const double found = mode == 1 ? std::cbrt(det) : 1;
                ASSERT_LT(transform.deviationFromRotation(found), 4e-6 * (found * found + 1e-3));
                expectBest(transform, p1, p2, mode == 1 ? Freedom::kScale : Freedom::kRigid,
                           random);
                if (::testing::Test::HasFatalFailure())
                    return;
            }
        }
}

TEST(AlignPointSets, FindsAffineMaps) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 60; ++trial) {
        const int n = 4 + static_cast<int>(random() % 40);
        Transform map;
        for (auto& row : map.m)
            for (double& element : row)
                element = normal(random);
        Points p1, p2;
        for (int k = 0; k < n; ++k) {
            p2.push_back(ZtVec3f(ZtVec3d(normal(random), normal(random), normal(random))));
            const ZtVec3d noise = randomDirection(random) * (trial % 2 ? 0.1 : 0);
            p1.push_back(ZtVec3f(map(ZtVec3d(p2.back())) + noise));
        }
        ZtMat4f result;
        ztAlignPointSets(result, p1.data(), p2.data(), n, 2);
        CaptureStdout();
        ASSERT_TRUE(haveSameBits(Steps(p1, p2, nullptr).affine(), result));
        GetCapturedStdout();
        // The normal equations square the condition; well-spread sets keep their digits.
        if (n >= 12)
            expectBest(Transform(result), p1, p2, Freedom::kAffine, random);
    }
}

TEST(AlignPointSets, TakesTheRightHandSidesWherePointsAreCoplanar) {
    const Points p2 = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}};
    const Points p1 = {{1, 0, 0}, {1, 2, 0}, {1, 0, 2}, {1, 2, 2}};
    ZtMat4f result;
    CaptureStderr();
    ztAlignPointSets(result, p1.data(), p2.data(), 4, 2);
    EXPECT_EQ("ZtDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: 2 3\n", GetCapturedStderr());
    // P^T Q about the centroids (1, 1, 0) and (1, 1, 1).
    const ZtMat4f expected(0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 1, -3, -3, 1);
    EXPECT_TRUE(haveSameBits(expected, result)) << result[3][1];
}

TEST(AlignPointSets, WeighsAndIndexesAsOneSchemeInAllOverloads) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 60; ++trial) {
        const int n = 4 + static_cast<int>(random() % 30);
        const std::size_t size = static_cast<std::size_t>(n);
        Points a1(size + 3), a2(size + 5), p1, p2;
        for (Points* points : {&a1, &a2})
            for (ZtVec3f& p : *points)
                p = ZtVec3f(ZtVec3d(normal(random), normal(random), normal(random)));
        std::vector<float> of1(a1.size()), of2(a2.size()), w1, w2, w, byPair;
        for (std::vector<float>* weights : {&of1, &of2})
            for (float& weight : *weights)
                weight = static_cast<float>(random() % 100) / 50;
        std::vector<int> idx1, idx2;
        for (int k = 0; k < n; ++k) {
            idx1.push_back(static_cast<int>(random() % a1.size()));
            idx2.push_back(static_cast<int>(random() % a2.size()));
            const std::size_t i1 = static_cast<std::size_t>(idx1.back());
            const std::size_t i2 = static_cast<std::size_t>(idx2.back());
            p1.push_back(a1[i1]);
            p2.push_back(a2[i2]);
            w1.push_back(of1[i1]);
            w2.push_back(of2[i2]);
            w.push_back(of1[i1] * of2[i2]);
        }
        const int mode = trial % 3;
        const ZtMat4f post = someMatrix();
        const auto expected = [&](const std::vector<float>* weights) {
            const Steps steps(p1, p2, weights);
            return (mode == 2 ? steps.affine() : steps.rigid(mode == 1)) * post;
        };
        ZtMat4f plain, indexed, weighted, weightedBoth, indexedWeighted, indexedBoth;
        const ZtVec3f *q1 = p1.data(), *q2 = p2.data(), *b1 = a1.data(), *b2 = a2.data();
        const int *i1 = idx1.data(), *i2 = idx2.data();
        CaptureStdout();
        ztAlignPointSets(plain, q1, q2, n, mode, &post);
        ztAlignPointSets(indexed, b1, b2, i1, i2, n, mode, &post);
        ztAlignPointSets(weighted, q1, q2, w.data(), n, mode, &post);
        ztAlignPointSets(weightedBoth, q1, q2, w1.data(), w2.data(), n, mode, &post);
        ztAlignPointSets(indexedWeighted, b1, b2, i1, i2, w.data(), n, mode, &post);
        ztAlignPointSets(indexedBoth, b1, b2, i1, i2, of1.data(), of2.data(), n, mode, &post);
        EXPECT_TRUE(haveSameBits(expected(nullptr), plain));
        EXPECT_TRUE(haveSameBits(plain, indexed));
        EXPECT_TRUE(haveSameBits(expected(&w), weighted));
        EXPECT_TRUE(haveSameBits(weighted, weightedBoth));
        EXPECT_TRUE(haveSameBits(weighted, indexedWeighted));
        EXPECT_TRUE(haveSameBits(weighted, indexedBoth));
        GetCapturedStdout();
        if (mode == 0) {
            ztAlignPointSets(weighted, q1, q2, w.data(), n, mode, nullptr);
            expectBest(Transform(weighted), p1, p2, Freedom::kRigid, random, w);
        }
        if (mode == 1) {
            ZtMat4f halved;
            for (float& weight : w)
                weight *= 2;
            ztAlignPointSets(weighted, q1, q2, std::vector<float>(size, 1).data(), n, 1, nullptr);
            ztAlignPointSets(halved, q1, q2, std::vector<float>(size, 2).data(), n, 1, nullptr);
            EXPECT_NEAR(weighted.det3() / 8, halved.det3(), 1e-5 * std::fabs(weighted.det3()));
        }
    }
}

TEST(AlignPointSets, SumsInOrderInSinglePrecision) {
    const Points p1 = {{16777216, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 0, 0}};
    const Points p2(4);
    ZtMat4f result;
    ztAlignPointSets(result, p1.data(), p2.data(), 4, 0);
    EXPECT_EQ(4194304.f, result[3][0]);
}

TEST(AlignPointSets, KeepsToWhatIsSaidOfSpecialCases) {
    const Points p = {{1, 2, 3}, {4, 5, 7}, {-1, 0, 2}, {3, 3, 3}};
    const float ones[] = {1, 1, 1, 1}, cancelling[] = {1, -1, 2, -2};
    const ZtMat4f m = someMatrix();
    for (const int mode : {0, 1, 2, 7}) {
        SCOPED_TRACE(mode);
        for (const int n : {0, -3}) {
            ZtMat4f none = m, weighted = m;
            ztAlignPointSets(none, nullptr, nullptr, n, mode, &m);
            EXPECT_TRUE(haveSameBits(m, none));
            ztAlignPointSets(weighted, nullptr, nullptr, nullptr, nullptr, ones, n, mode, nullptr);
            EXPECT_TRUE(weighted.isIdentity());
        }
        ZtMat4f cancelled = m;
        ztAlignPointSets(cancelled, p.data(), p.data(), cancelling, 4, mode, nullptr);
        EXPECT_TRUE(cancelled.isIdentity());
        cancelled = m;  // and `post` is what the result has become
        ztAlignPointSets(cancelled, p.data(), p.data(), cancelling, 4, mode, &cancelled);
        EXPECT_TRUE(cancelled.isIdentity());
    }
    ZtMat4f unchanged = m;
    ztAlignPointSets(unchanged, p.data(), p.data(), 4, 3);
    EXPECT_TRUE(haveSameBits(m, unchanged));
    ztAlignPointSets(unchanged, p.data(), p.data(), 4, -1, &unchanged);
    EXPECT_TRUE(haveSameBits(m * m, unchanged));
    for (const int mode : {0, 1, 2}) {
        ZtMat4f self;
        ztAlignPointSets(self, p.data(), p.data(), 4, mode);
        EXPECT_TRUE(self.equals(ZtMat4f::identity(), mode == 2 ? 1e-4f : 2e-6f)) << mode;
    }
}

TEST(AlignPointSets, SurvivesWhatIsNoNumber) {
    const float inf = std::numeric_limits<float>::infinity();
    for (const float bad : {inf, 1e30f, std::numeric_limits<float>::quiet_NaN()})
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
