// Filling polygons against OpenCV, and small triangles by the second.
#include <ztlib/ZtScanConvert.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>

#include "Compare.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

/// An image and how its pixels are set.
struct Image {
    int size;
    std::vector<unsigned char> pixels;

    explicit Image(int itsSize)
        : size(itsSize),
          pixels(static_cast<std::size_t>(itsSize) * static_cast<std::size_t>(itsSize)) {}

    static void setSpan(void* image, int xl, int xr, int y) {
        auto& self = *static_cast<Image*>(image);
        std::memset(self.pixels.data() +
                        static_cast<std::size_t>(y) * static_cast<std::size_t>(self.size) + xl,
                    1, static_cast<std::size_t>(xr - xl + 1));
    }
};

/// A closed curve of spikes between two radii: many rows cross many edges.
std::vector<ZtVec2f> star(int vertices, int size) {
    std::mt19937 engine(5);
    std::vector<ZtVec2f> points;
    for (int i = 0; i < vertices; ++i) {
        const double radius = size * (0.15 + 0.33 * static_cast<double>(engine() % 1000) / 1000);
        const double angle = 2 * kPi * i / vertices;
        points.emplace_back(static_cast<float>(std::lround(size / 2 + radius * std::cos(angle))),
                            static_cast<float>(std::lround(size / 2 + radius * std::sin(angle))));
    }
    return points;
}

void addPolygon(const std::string& work, const std::vector<ZtVec2f>& points, int size, double bar) {
    const auto ours = std::make_shared<Image>(size);
    const auto peer = std::make_shared<cv::Mat>(cv::Mat::zeros(size, size, CV_8U));
    // The peer's integers are the centres of pixels.
    const auto centres = std::make_shared<std::vector<ZtVec2f>>();
    const auto peerPoints = std::make_shared<std::vector<cv::Point>>();
    for (const ZtVec2f& p : points) {
        centres->push_back(p + ZtVec2f(0.5f, 0.5f));
        peerPoints->emplace_back(static_cast<int>(p.x), static_cast<int>(p.y));
    }
    bench::add({work, "cv::fillPoly", bar,
                [=] {
                    ZtScanConvert converter(0, 0, size - 1, size - 1);
                    converter.setSpanCB(Image::setSpan, ours.get());
                    converter.render(static_cast<int>(centres->size()), centres->data());
                },
                [=] { cv::fillPoly(*peer, std::vector<std::vector<cv::Point>>{*peerPoints}, 1); },
                // The peer draws the boundary's pixels, too, and rounds slopes its own way.
                [=] {
                    std::size_t onlyOurs = 0;
                    for (std::size_t i = 0; i < ours->pixels.size(); ++i)
                        onlyOurs += ours->pixels[i] > peer->data[i];
                    return onlyOurs <= centres->size();
                }});
}

void addTriangles(double bar) {
    constexpr int kTriangles = 10000;
    constexpr int kSize = 1024;
    const auto corners = std::make_shared<std::vector<ZtVec2f>>();
    std::mt19937 engine(6);
    std::uniform_real_distribution<float> at(0, kSize - 8), aside(0, 8);
    for (int i = 0; i < kTriangles; ++i) {
        const ZtVec2f place(at(engine), at(engine));
        for (int k = 0; k < 3; ++k)
            corners->push_back(place + ZtVec2f(aside(engine), aside(engine)));
    }
    const auto image = std::make_shared<Image>(kSize);
    benchmark::RegisterBenchmark("triangles of at most 8 x 8 pixels, per second",
                                 [=](benchmark::State& state) {
                                     for (auto _ : state) {
                                         ZtScanConvert converter(0, 0, kSize - 1, kSize - 1);
                                         converter.setSpanCB(Image::setSpan, image.get());
                                         for (int i = 0; i < kTriangles; ++i)
                                             converter.render(3, corners->data() + 3 * i);
                                     }
                                     const double ratePerTime =
                                         static_cast<double>(state.iterations()) * kTriangles;
                                     state.counters["ratio"] = benchmark::Counter(
                                         ratePerTime / 1e6, benchmark::Counter::kIsRate);
                                     state.counters["bar"] = bar;
                                     state.SetLabel("peer: a million a second");
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    cv::setNumThreads(1);
    addPolygon("polygon of 10,000 vertices, 4096 x 4096", star(10000, 4096), 4096, 1);
    addPolygon("polygon of 100 vertices, 4096 x 4096", star(100, 4096), 4096, 0);
    addTriangles(1);
    benchmark::RunSpecifiedBenchmarks();
}
