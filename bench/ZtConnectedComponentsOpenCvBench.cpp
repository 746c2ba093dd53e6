// Labelling of large images against OpenCV's, statistics included, one thread each.
#include <ztlib/ZtConnectedComponents.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "Compare.h"
#include "VolumeData.h"

using namespace ZtConnectedComponents;

namespace {

struct Work {
    bench::Elements<unsigned char> pixels;
    bench::Elements<int> labels;
    int dims[3];
    ZtDArray<Component> list;
    int count = 0;
    cv::Mat peerLabels, peerStatistics, peerCentroids;
    int peerCount = 0;

    explicit Work(const bench::Volume& volume)
        : pixels(volume.voxels.size()),
          labels(volume.voxels.size()),
          dims{volume.dims[0], volume.dims[1], volume.dims[2]} {
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = volume.voxels[i] >= volume.lower ? 255 : 0;
    }

    void label() {
        int* out = labels.data();
        count = labelCCHuge(ZtTypedPointer(pixels.data()), dims, 8, out, 0, 128, 255, 0, 0, &list,
                            nullptr);
    }

    void labelByPeer() {
        const cv::Mat image(dims[1], dims[0], CV_8U, pixels.data());
        // The peer counts the background too.
        peerCount = cv::connectedComponentsWithStats(image, peerLabels, peerStatistics,
                                                     peerCentroids, 8, CV_32S) -
                    1;
    }
};

void add(const bench::Volume& volume, double bar) {
    const auto work = std::make_shared<Work>(volume);
    bench::add({volume.name + ", 4096 x 4096, connectivity 8", "cv::connectedComponentsWithStats",
                bar, [=] { work->label(); }, [=] { work->labelByPeer(); },
                [=] { return work->count == work->peerCount; }});
}

}  // namespace

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    constexpr int kSide = 4096;
    add(bench::noise(kSide, kSide, 1, 50), 5);
    add(bench::noise(kSide, kSide, 1, 15), 2.5);
    add(bench::blobs(kSide, kSide, 1, 6), 7);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
