// Labelling of large images against OpenCV's, statistics included, one thread each.
#include <ztlib/ZtConnectedComponents.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "Compare.h"
#include "VolumeData.h"

using namespace ZtConnectedComponents;

namespace {

/// Labels an image, into 16 bits where the components allow; the peer into its usual 32 bits.
template <class Label>
struct Work {
    bench::Elements<unsigned char> pixels;
    bench::Elements<Label> labels;
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
        Label* out = labels.data();
        const ZtTypedPointer data(pixels.data());
        if constexpr (sizeof(Label) == 2)
            count = labelCC(data, dims, 8, out, 0, 128, 128, 0, 0, &list, nullptr);
        else
            count = labelCCHuge(data, dims, 8, out, 0, 128, 128, 0, 0, &list, nullptr);
    }

    void labelByPeer() {
        const cv::Mat image(dims[1], dims[0], CV_8U, pixels.data());
        // The peer counts the background too.
        peerCount = cv::connectedComponentsWithStats(image, peerLabels, peerStatistics,
                                                     peerCentroids, 8, CV_32S) -
                    1;
    }
};

template <class Label>
void add(const bench::Volume& volume, double bar) {
    const auto work = std::make_shared<Work<Label>>(volume);
    bench::add({volume.name + ", 4096 x 4096, connectivity 8", "cv::connectedComponentsWithStats",
                bar, [=] { work->label(); }, [=] { work->labelByPeer(); },
                [=] { return work->count == work->peerCount; }});
}

}  // namespace

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    constexpr int kSide = 4096;
    add<unsigned short>(bench::noise(kSide, kSide, 1, 50), 5);
    add<int>(bench::noise(kSide, kSide, 1, 15), 2.5);
    add<unsigned short>(bench::blobs(kSide, kSide, 1, 6), 7);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
