// Matrices, rotations and transformed points against Eigen's fixed-size types and glm; points over
// a large array also against a pass over the memory that they lie in.
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtRotation.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Compare.h"

#if defined(ZT_HAS_EIGEN)
#include <Eigen/Dense>
#include <Eigen/Geometry>
#endif
#if defined(ZT_HAS_GLM)
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#endif

namespace {

constexpr std::size_t kCount = 256;  // items per run: they and their results stay in the cache

// The same matrices and rotations in the forms of all libraries. Each result goes to its own place,
// so that none can be left out.
struct Data {
    Data() {
        std::mt19937 engine(7);
        std::uniform_real_distribution<float> uniform(-1, 1);
        for (std::size_t i = 0; i < kCount; ++i) {
            const float q[4] = {uniform(engine), uniform(engine), uniform(engine), uniform(engine)};
            rotations.push_back(ZtRotation(q));
            ZtMat4f m;
            m.setTransform(ZtVec3f(uniform(engine), uniform(engine), uniform(engine)),
                           rotations.back(), ZtVec3f(1.5f, 0.7f, 1.1f));
            matrices.push_back(m);
            ZtMat4f turn;
            turn.setRotate(rotations.back());
            turns.push_back(turn);
        }
        matrixResults.resize(kCount);
        rotationResults.resize(kCount);
    }

    std::vector<ZtRotation> rotations;
    std::vector<ZtMat4f> matrices;
    std::vector<ZtMat4f> turns;
    std::vector<ZtMat4f> matrixResults;
    std::vector<ZtRotation> rotationResults;
};

// A run goes over all items; the compiler may not know what was there before.
template <class F>
std::function<void()> overAll(F f) {
    return [f] {
        benchmark::ClobberMemory();
        for (std::size_t i = 0; i < kCount; ++i)
            f(i, (i + 1) % kCount);
        benchmark::ClobberMemory();
    };
}

// Numbers as close as rounding makes them; quaternions q and -q are the same rotation.
bool close(const float* a, const float* b, std::size_t count, float sign = 1) {
    for (std::size_t i = 0; i < count; ++i)
        if (!(std::abs(a[i] - sign * b[i]) <= 1e-5f * (1 + std::abs(a[i]))))
            return false;
    return true;
}

// Compares all results: matrices, quaternions and points of every library are arrays of floats that
// lie in memory in the same order.
template <class Ours, class Peers>
std::function<bool()> sameResults(const Ours& ours, const Peers& peers) {
    static_assert(sizeof ours[0] == sizeof peers[0]);
    return [&ours, &peers] {
        constexpr std::size_t kFloats = sizeof ours[0] / sizeof(float);
        for (std::size_t i = 0; i < ours.size(); ++i) {
            const auto a = reinterpret_cast<const float*>(&ours[i]);
            const auto b = reinterpret_cast<const float*>(&peers[i]);
            if (!close(a, b, kFloats) && !(kFloats == 4 && close(a, b, kFloats, -1)))
                return false;
        }
        return true;
    };
}

// The work of ours; the peers below measure the same.
struct Ours {
    std::shared_ptr<Data> data = std::make_shared<Data>();

    auto product() const {
        return overAll([d = data](std::size_t i, std::size_t j) {
            d->matrixResults[i] = d->matrices[i] * d->matrices[j];
        });
    }
    auto inverse() const {
        return overAll([d = data](std::size_t i, std::size_t) {
            d->matrixResults[i] = d->matrices[i].inverse();
        });
    }
    auto affineInverse() const {
        return overAll([d = data](std::size_t i, std::size_t) {
            ZtMat4f::affine_inverse(d->matrices[i], d->matrixResults[i]);
        });
    }
    auto toMatrix() const {
        return overAll([d = data](std::size_t i, std::size_t) {
            d->rotations[i].getValue(d->matrixResults[i]);
        });
    }
    auto fromMatrix() const {
        return overAll([d = data](std::size_t i, std::size_t) {
            d->rotationResults[i].setValue(d->turns[i]);
        });
    }
    auto slerp() const {
        return overAll([d = data](std::size_t i, std::size_t j) {
            d->rotationResults[i] = ZtRotation::slerp(d->rotations[i], d->rotations[j], 0.3f);
        });
    }
};

void add(const std::string& work, const std::string& peerName, std::function<void()> ours,
         std::function<void()> peer, std::function<bool()> same) {
    bench::add(
        {work + ", " + peerName, peerName, 1.0, std::move(ours), std::move(peer), std::move(same)});
}

#if defined(ZT_HAS_EIGEN)
// Eigen's columns are our rows in memory, so its transforms are ours, transposed.
void addEigen(const Ours& ours) {
    struct Peer {
        std::vector<Eigen::Matrix4f> matrices, matrixResults;
        std::vector<Eigen::Affine3f> transforms, transformResults;
        std::vector<Eigen::Quaternionf> rotations, rotationResults;
        std::vector<Eigen::Matrix3f> turns;
    };
    const auto peer = std::make_shared<Peer>();
    Peer& p = *peer;
    for (std::size_t i = 0; i < kCount; ++i) {
        p.matrices.push_back(Eigen::Map<const Eigen::Matrix4f>(ours.data->matrices[i][0]));
        p.transforms.emplace_back(p.matrices.back());
        const float* q = ours.data->rotations[i].getValue();
        p.rotations.emplace_back(q[3], q[0], q[1], q[2]);
        p.turns.push_back(p.rotations.back().toRotationMatrix());
    }
    p.matrixResults.resize(kCount);
    p.transformResults.resize(kCount);
    p.rotationResults.resize(kCount);
    Data& d = *ours.data;

    add("matrix product", "Eigen", ours.product(), overAll([peer](std::size_t i, std::size_t j) {
            peer->matrixResults[i].noalias() = peer->matrices[j] * peer->matrices[i];
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("matrix inverse", "Eigen", ours.inverse(), overAll([peer](std::size_t i, std::size_t) {
            peer->matrixResults[i] = peer->matrices[i].inverse();
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("affine inverse", "Eigen (Affine3f)", ours.affineInverse(),
        overAll([peer](std::size_t i, std::size_t) {
            peer->transformResults[i] = peer->transforms[i].inverse(Eigen::Affine);
        }),
        sameResults(d.matrixResults, p.transformResults));
    // Ours is computed in double precision and rounded once; so are these.
    add("matrix inverse", "Eigen, computed in double", ours.inverse(),
        overAll([peer](std::size_t i, std::size_t) {
            const Eigen::Matrix4d inverse = peer->matrices[i].cast<double>().inverse();
            peer->matrixResults[i] = inverse.cast<float>();
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("affine inverse", "Eigen (Affine3f), computed in double", ours.affineInverse(),
        overAll([peer](std::size_t i, std::size_t) {
            const Eigen::Affine3d inverse =
                peer->transforms[i].cast<double>().inverse(Eigen::Affine);
            peer->transformResults[i] = inverse.cast<float>();
        }),
        sameResults(d.matrixResults, p.transformResults));
    add("rotation to matrix", "Eigen", ours.toMatrix(), overAll([peer](std::size_t i, std::size_t) {
            peer->transformResults[i] = peer->rotations[i];
        }),
        sameResults(d.matrixResults, p.transformResults));
    add("rotation from matrix", "Eigen", ours.fromMatrix(),
        overAll([peer](std::size_t i, std::size_t) { peer->rotationResults[i] = peer->turns[i]; }),
        sameResults(d.rotationResults, p.rotationResults));
    add("slerp", "Eigen", ours.slerp(), overAll([peer](std::size_t i, std::size_t j) {
            peer->rotationResults[i] = peer->rotations[i].slerp(0.3f, peer->rotations[j]);
        }),
        sameResults(d.rotationResults, p.rotationResults));
}
#endif

#if defined(ZT_HAS_GLM)
void addGlm(const Ours& ours) {
    struct Peer {
        std::vector<glm::mat4> matrices, turns, matrixResults;
        std::vector<glm::quat> rotations, rotationResults;
    };
    const auto peer = std::make_shared<Peer>();
    Peer& p = *peer;
    for (std::size_t i = 0; i < kCount; ++i) {
        const ZtMat4f& m = ours.data->matrices[i];
        glm::mat4 matrix;
        for (int column = 0; column < 4; ++column)
            for (int row = 0; row < 4; ++row)
                matrix[column][row] = m[column][row];
        p.matrices.push_back(matrix);
        const float* q = ours.data->rotations[i].getValue();
        p.rotations.emplace_back(q[3], q[0], q[1], q[2]);
        p.turns.push_back(glm::mat4_cast(p.rotations.back()));
    }
    p.matrixResults.resize(kCount);
    p.rotationResults.resize(kCount);
    Data& d = *ours.data;

    add("matrix product", "glm", ours.product(), overAll([peer](std::size_t i, std::size_t j) {
            peer->matrixResults[i] = peer->matrices[j] * peer->matrices[i];
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("matrix inverse", "glm", ours.inverse(), overAll([peer](std::size_t i, std::size_t) {
            peer->matrixResults[i] = glm::inverse(peer->matrices[i]);
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("rotation to matrix", "glm", ours.toMatrix(), overAll([peer](std::size_t i, std::size_t) {
            peer->matrixResults[i] = glm::mat4_cast(peer->rotations[i]);
        }),
        sameResults(d.matrixResults, p.matrixResults));
    add("rotation from matrix", "glm", ours.fromMatrix(),
        overAll([peer](std::size_t i, std::size_t) {
            peer->rotationResults[i] = glm::quat_cast(peer->turns[i]);
        }),
        sameResults(d.rotationResults, p.rotationResults));
    add("slerp", "glm", ours.slerp(), overAll([peer](std::size_t i, std::size_t j) {
            peer->rotationResults[i] = glm::slerp(peer->rotations[i], peer->rotations[j], 0.3f);
        }),
        sameResults(d.rotationResults, p.rotationResults));
}
#endif

// A transform whose repetition keeps the points where numbers are ordinary.
ZtMat4f quietTransform() {
    ZtMat4f m;
    m.setTransform(ZtVec3f(0.01f, 0, 0), ZtRotation(ZtVec3f(1, 2, 3), 0.5f), ZtVec3f(1, 1, 1));
    return m;
}

std::vector<ZtVec3f> somePoints(std::size_t count) {
    std::mt19937 engine(11);
    std::uniform_real_distribution<float> uniform(-1, 1);
    std::vector<ZtVec3f> points;
    for (std::size_t i = 0; i < count; ++i) {
        ZtVec3f& point = points.emplace_back();
        for (int k = 0; k < 3; ++k)
            point[k] = uniform(engine);
    }
    return points;
}

// Storage for an array from the library's allocation, so that all lie on the same kind of pages.
template <class T>
std::shared_ptr<T> arrayOf(const std::vector<ZtVec3f>& points) {
    static_assert(sizeof(T) % sizeof(float) == 0 && sizeof(ZtVec3f) % sizeof(T) == 0);
    const std::size_t bytes = points.size() * sizeof(ZtVec3f);
    const std::shared_ptr<T> array(static_cast<T*>(ztmalloc(bytes)), ztfree);
    std::memcpy(static_cast<void*>(array.get()), points.data(), bytes);
    return array;
}

// Points transformed in place by `peer`, against ours.
template <class Point, class F>
void addPeer(const std::string& work, const std::string& peerName, double bar,
             const std::vector<ZtVec3f>& points, const ZtMat4f& m, F peer, bool compare = true) {
    const auto ours = arrayOf<ZtVec3f>(points);
    const auto theirs = arrayOf<Point>(points);
    const std::size_t count = points.size();
    const std::size_t peerCount = count * sizeof(ZtVec3f) / sizeof(Point);
    std::function<bool()> same;
    if (compare)
        same = [ours, theirs, count] {
            return close(&ours->x, reinterpret_cast<const float*>(theirs.get()), 3 * count);
        };
    bench::add(
        {work + ", " + peerName, peerName, bar,
         [ours, m, count] { m.multVecMatrix(ours.get(), ours.get(), static_cast<int>(count)); },
         [theirs, peerCount, peer] {
             for (std::size_t i = 0; i < peerCount; ++i)
                 peer(theirs.get()[i]);
             benchmark::ClobberMemory();
         },
         same});
}

// In place over an array, also against what the memory allows.
void addPoints(const std::string& size, std::size_t count) {
    const std::vector<ZtVec3f> points = somePoints(count);
    const ZtMat4f m = quietTransform();
    const std::string work = "points in place, " + size;
    addPeer<float>(
        work, "memory (a pass that adds to every float)", 0.8, points, m,
        [](float& number) { number += 0.5f; }, false);
#if defined(ZT_HAS_EIGEN)
    const Eigen::Matrix4f elements = Eigen::Map<const Eigen::Matrix4f>(m[0]);
    addPeer<Eigen::Vector3f>(work, "Eigen", 1, points, m,
                             [projective = Eigen::Projective3f(elements)](Eigen::Vector3f& p) {
                                 p = (projective * p.homogeneous()).hnormalized();
                             });
#endif
#if defined(ZT_HAS_GLM)
    glm::mat4 matrix;
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            matrix[column][row] = m[column][row];
    addPeer<glm::vec3>(work, "glm", 1, points, m, [matrix](glm::vec3& p) {
        const glm::vec4 image = matrix * glm::vec4(p, 1);
        p = glm::vec3(image) / image.w;
    });
#endif
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    [[maybe_unused]] const Ours ours;
#if defined(ZT_HAS_EIGEN)
    addEigen(ours);
#endif
#if defined(ZT_HAS_GLM)
    addGlm(ours);
#endif
    addPoints("1 million", 1000000);
    addPoints("16 million", 16000000);
    benchmark::RunSpecifiedBenchmarks();
}
