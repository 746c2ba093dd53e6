// The alignment of point sets against Eigen's, and against the bandwidth of the memory that the
// points lie in.
#include <ztlib/ZtAlignPointSets.h>
#include <ztlib/ZtMemory.h>

#include <Eigen/Geometry>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "Compare.h"

// The peer may be as wide as the processor allows.
#if defined(__x86_64__) && defined(__ELF__) && defined(__GNUC__) && !defined(__clang__)
#define ZT_WIDE __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define ZT_WIDE
#endif

namespace {

ZT_WIDE std::uint32_t sumOfWords(const std::uint32_t* words, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum += words[i];
    return sum;
}

/// Two sets that differ by a rotation, a translation and noise, as ours and as Eigen's.
struct Sets {
    explicit Sets(int count)
        : n(count), p1(allocate()), p2(allocate()), eigen1(3, n), eigen2(3, n) {
        std::mt19937 random(5);
        std::normal_distribution<float> normal;
        for (int k = 0; k < n; ++k) {
            const ZtVec3f p(normal(random), normal(random), normal(random));
            const ZtVec3f noise = ZtVec3f(normal(random), normal(random), normal(random)) * 0.01f;
            p2.get()[k] = p;
            p1.get()[k] =
                ZtVec3f(0.8f * p.x - 0.6f * p.y, 0.6f * p.x + 0.8f * p.y, p.z + 2) + noise;
            for (int i = 0; i < 3; ++i) {
                eigen1(i, k) = p1.get()[k][i];
                eigen2(i, k) = p2.get()[k][i];
            }
        }
    }

    using Points = std::unique_ptr<ZtVec3f, void (*)(void*)>;
    Points allocate() const {
        return Points(
            static_cast<ZtVec3f*>(ztmalloc(static_cast<std::size_t>(n) * sizeof(ZtVec3f))), ztfree);
    }

    void align(int mode) { ztAlignPointSets(result, p1.get(), p2.get(), n, mode); }

    // One pass of sums in the order of the pairs, without anything else: each addition waits for
    // the one before it.
    void addInOrder() const {
        float sum = 0;
        for (int k = 0; k < n; ++k)
            sum += p1.get()[k].x;
        benchmark::DoNotOptimize(sum);
    }

    void read() const {
        for (const Points* points : {&p1, &p2})
            benchmark::DoNotOptimize(
                sumOfWords(reinterpret_cast<const std::uint32_t*>(points->get()),
                           3 * static_cast<std::size_t>(n)));
    }

    bool isSame() const {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 3; ++j)
                if (std::fabs(result[i][j] - expected(j, i)) > 1e-4f)
                    return false;
        return true;
    }

    int n;
    Points p1, p2;
    Eigen::Matrix3Xf eigen1, eigen2;
    ZtMat4f result;
    Eigen::Matrix4f expected;
};

void addEigen(int n, int mode, const std::string& name, double bar) {
    const auto sets = std::make_shared<Sets>(n);
    bench::add(
        {std::to_string(n) + " points, " + name, "Eigen::umeyama", bar,
         [sets, mode] { sets->align(mode); },
         [sets, mode] { sets->expected = Eigen::umeyama(sets->eigen2, sets->eigen1, mode == 1); },
         [sets] { return sets->isSame(); }});
}

// The sums, the products and the scale need the points one after the other.
void addPasses(int n, int mode, const std::string& name, int passes) {
    const auto sets = std::make_shared<Sets>(n);
    bench::add({std::to_string(n) + " points, " + name + ", against memory",
                std::to_string(passes) + " passes over the points",
                0.5,
                [sets, mode] { sets->align(mode); },
                [sets, passes] {
                    for (int pass = 0; pass < passes; ++pass)
                        sets->read();
                },
                {}});
}

// What the order of summation leaves: the centroids, the products, which need them, and the scale,
// which needs the rotation.
void addChains(int n, int mode, const std::string& name, int passes) {
    const auto sets = std::make_shared<Sets>(n);
    bench::add({std::to_string(n) + " points, " + name + ", against the additions alone",
                std::to_string(passes) + " x " + std::to_string(n) + " additions in order",
                0,
                [sets, mode] { sets->align(mode); },
                [sets, passes] {
                    for (int pass = 0; pass < passes; ++pass)
                        sets->addInOrder();
                },
                {}});
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    addEigen(1000, 0, "rigid", 4);
    addEigen(1000, 1, "with scale", 4);
    addChains(1000, 1, "with scale", 3);
    addEigen(1000000, 0, "rigid", 4);
    addPasses(1000000, 0, "rigid", 2);
    addPasses(1000000, 1, "with scale", 3);
    benchmark::RunSpecifiedBenchmarks();
}
