// Dense matrices against Eigen.
#include <ztlib/ZtDMatrix.h>

#include <Eigen/SVD>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Compare.h"
#include "EigenMatrix.h"

namespace {

struct System {
    explicit System(int size)
        : n(size), a(size, size), b(static_cast<std::size_t>(size)), columns(b.size() * b.size()) {
        std::mt19937 random(static_cast<unsigned>(size));
        std::uniform_real_distribution<float> number(-1, 1);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j)
                columns[static_cast<std::size_t>(i + j * n)] = a(i, j) = number(random);
            b[static_cast<std::size_t>(i)] = number(random);
        }
    }

    void solve() {
        ours = b;
        float* rhs[] = {ours.data()};
        a.solveLRdecomp(rhs, 1);
    }

    static double largestDifference(const float* x, const float* y, std::size_t count) {
        double difference = 0;
        double largest = 0;
        for (std::size_t i = 0; i < count; ++i) {
            difference = std::max<double>(difference, std::fabs(x[i] - y[i]));
            largest = std::max<double>(largest, std::fabs(x[i]));
        }
        return difference / largest;
    }

    int n;
    ZtDMatrix<float> a;
    std::vector<float> b, columns;
    std::vector<float> ours = b;
    std::vector<float> peer = b;
};

std::string squared(int n) {
    return std::to_string(n) + " x " + std::to_string(n);
}

void addSolve(int n, const bench::EigenMatrix& eigen, const std::string& form, double bar) {
    const auto s = std::make_shared<System>(n);
    bench::add({"solveLRdecomp, " + squared(n) + ", against " + form,
                "PartialPivLU<MatrixXf>, " + form, bar, [s] { s->solve(); },
                [s, &eigen] { eigen.solve(s->columns.data(), s->b.data(), s->peer.data(), s->n); },
                [s] {
                    return System::largestDifference(s->ours.data(), s->peer.data(), s->b.size()) <
                           1e-2;
                }});
}

void addGrowth() {
    const auto small = std::make_shared<System>(250);
    const auto large = std::make_shared<System>(1000);
    const int times = 64;
    bench::add({"solveLRdecomp, growth from 250 to 1000",
                "64 systems of 250",
                1 / 1.2,
                [large] { large->solve(); },
                [small] {
                    for (int i = 0; i < times; ++i)
                        small->solve();
                },
                {}});
}

void addMultiply(int n, const bench::EigenMatrix& eigen, const std::string& form, double bar) {
    const auto s = std::make_shared<System>(n);
    const auto product = std::make_shared<ZtDMatrix<float>>();
    const auto expected = std::make_shared<std::vector<float>>(s->columns.size());
    bench::add({"operator*=, " + squared(n) + ", against " + form, "MatrixXf product, " + form, bar,
                [s, product] {
                    *product = s->a;
                    *product *= s->a;
                },
                [s, expected, &eigen] {
                    eigen.multiply(s->columns.data(), s->columns.data(), expected->data(), s->n);
                },
                [s, product, expected] {
                    product->transpose();
                    return System::largestDifference(product->dataPtr(), expected->data(),
                                                     expected->size()) < 1e-4;
                }});
}

void addSvd() {
    const int kMatrices = 256;
    struct Data {
        std::vector<ZtDMatrix<float>> ours;
        std::vector<Eigen::Matrix3f> peers;
        ZtDMatrix<float> u, v;
        float w[3];
        float sum = 0, peerSum = 0;
    };
    const auto d = std::make_shared<Data>();
    std::mt19937 random(3);
    std::uniform_real_distribution<float> number(-1, 1);
    for (int k = 0; k < kMatrices; ++k) {
        d->ours.emplace_back(3, 3);
        d->peers.emplace_back();
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                d->peers.back()(i, j) = d->ours.back()(i, j) = number(random);
    }
    bench::add({"svd, 256 of 3 x 3", "JacobiSVD<Matrix3f>", 1.3,
                [d] {
                    d->sum = 0;
                    for (const auto& a : d->ours) {
                        a.svd(d->u, d->w, d->v);
                        d->sum += d->w[0] + d->w[1] + d->w[2];
                    }
                },
                [d] {
                    d->peerSum = 0;
                    for (const auto& a : d->peers)
                        d->peerSum += Eigen::JacobiSVD<Eigen::Matrix3f>(
                                          a, Eigen::ComputeFullU | Eigen::ComputeFullV)
                                          .singularValues()
                                          .sum();
                },
                [d] { return std::fabs(d->sum - d->peerSum) < 1e-4f * d->sum; }});
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string base = "the same flags";
    addSolve(30, bench::eigenBase(), base, 1);
    addSolve(300, bench::eigenBase(), base, 1);
    addSolve(500, bench::eigenBase(), base, 1);
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
        const std::string wide = "AVX2 and FMA";
        addSolve(300, bench::eigenAvx2(), wide, 0.8);
        addSolve(500, bench::eigenAvx2(), wide, 0.8);
        addMultiply(500, bench::eigenAvx2(), wide, 0);
    }
    addGrowth();
    addMultiply(500, bench::eigenBase(), base, 0.5);
    addSvd();
    benchmark::RunSpecifiedBenchmarks();
}
