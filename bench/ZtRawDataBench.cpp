// Conversion, mapping, ranges, constancy and byte order: at 16 Mi elements against a plain copy
// that reads and writes as many bytes and against OpenCV, and at 32 Ki elements, in the caches.
//
// OpenCV rounds where ours truncates, so the values are integers that all types hold.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <string>

#include "Compare.h"

namespace {

struct Type {
    ZtPrimType::Type code;
    int depth;  ///< OpenCV's name of it.
};

constexpr Type kTypes[] = {{ZtPrimType::BYTE, CV_8U},    {ZtPrimType::SHORT, CV_16S},
                           {ZtPrimType::USHORT, CV_16U}, {ZtPrimType::INT, CV_32S},
                           {ZtPrimType::FLOAT, CV_32F},  {ZtPrimType::DOUBLE, CV_64F}};

struct Size {
    const char* name;
    unsigned elements;
    bool isInCache;
};

constexpr Size kLarge = {"16 Mi elements", 1u << 24, false};
constexpr Size kSmall = {"32 Ki elements", 1u << 15, true};

std::size_t bytes(ZtPrimType type, unsigned elements) {
    return static_cast<std::size_t>(type.size()) * elements;
}

/// A block for the largest of the arrays, from the allocation that clients use; written to once.
class Block {
public:
    Block() { std::memset(data_.get(), 0, kBytes); }
    unsigned char* data() const { return data_.get(); }
    ZtTypedPointer as(ZtPrimType type) const { return {data_.get(), type}; }
    cv::Mat matrix(const Type& type, unsigned elements) const {
        const int columns = 1 << 10;
        return cv::Mat(static_cast<int>(elements) / columns, columns, CV_MAKETYPE(type.depth, 1),
                       data_.get());
    }

private:
    static constexpr std::size_t kBytes = std::size_t{8} << 24;
    std::unique_ptr<unsigned char, void (*)(void*)> data_{
        static_cast<unsigned char*>(ztmalloc(kBytes)), ztfree};
};

struct Blocks {
    Block input, ours, peer;

    /// Fills the input with 0 .. 200.
    void prepare(ZtPrimType type, unsigned elements) {
        static unsigned char values[kLarge.elements];
        for (unsigned i = 0; i < elements; ++i)
            values[i] = static_cast<unsigned char>(i * 2654435761u >> 24) % 201;
        ZtRawData::memcpy(input.as(type), ZtTypedPointer(values), static_cast<int>(elements));
    }
};

Blocks& blocks() {
    static Blocks all;
    return all;
}

/// Registers a comparison whose input is made when it runs.
void add(const std::string& name, const Type& from, const Size& size,
         bench::Comparison comparison) {
    benchmark::RegisterBenchmark(
        (name + ", " + size.name + ", against " + comparison.peerName).c_str(),
        [=](benchmark::State& state) {
            blocks().prepare(from.code, size.elements);
            bench::run(state, comparison);
        })
        ->Iterations(15)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

/// Against the copy that moves as much: half of all bytes read and written.
void addAgainstCopy(const std::string& name, const Type& from, const Size& size, double bar,
                    std::size_t touched, const std::function<void()>& ours) {
    add(name, from, size,
        {"", "a memory copy", bar, ours,
         [=] {
             std::memcpy(blocks().peer.data(), blocks().input.data(), touched / 2);
             benchmark::DoNotOptimize(blocks().peer.data());
         },
         nullptr});
}

/// Reads some bytes of the input and writes some, in the fastest way that the system has.
void touch(std::size_t read, std::size_t written) {
    const std::size_t both = std::min(read, written);
    std::memcpy(blocks().ours.data(), blocks().input.data(), both);
    std::memset(blocks().ours.data() + both, 1, written - both);
    // No number of the input has such a byte.
    benchmark::DoNotOptimize(std::memchr(blocks().input.data() + both, 0xff, read - both));
    benchmark::DoNotOptimize(blocks().ours.data());
}

void addConversion(const Type& from, const Type& to, const Size& size, bool isMapped) {
    const unsigned n = size.elements;
    const std::string name = std::string(isMapped ? "map " : "copy ") +
                             ZtPrimType(from.code).getName() + " to " +
                             ZtPrimType(to.code).getName();
    const auto ours = [=] {
        const ZtTypedPointer out = blocks().ours.as(to.code);
        const ZtTypedPointer in = blocks().input.as(from.code);
        if (isMapped)
            ZtRawData::mapLinear(out, in, n, 2, 1);
        else
            ZtRawData::memcpy(out, in, static_cast<int>(n));
    };
    const auto peer = [=] {
        cv::Mat out = blocks().peer.matrix(to, n);
        blocks().input.matrix(from, n).convertTo(out, to.depth, 1, isMapped ? 2 : 0);
    };
    const auto same = [=] {
        return std::memcmp(blocks().ours.data(), blocks().peer.data(), bytes(to.code, n)) == 0;
    };
    const double bar = !size.isInCache ? 1 : isMapped ? 1.2 : 0.8;
    // OpenCV maps by 1 and 0 as a plain conversion, so the offset above is none of them.
    add(name, from, size, {"", "cv::Mat::convertTo", bar, ours, peer, same});
    if (!size.isInCache)
        addAgainstCopy(name, from, size, 0.85, bytes(from.code, n) + bytes(to.code, n), ours);
    else if (isMapped)
        // How far ahead of the peer one could be that only reads and writes as many bytes.
        add("reads and writes alone, " + name, from, size,
            {"", "cv::Mat::convertTo", 0, [=] { touch(bytes(from.code, n), bytes(to.code, n)); },
             peer, nullptr});
}

void addLooks(const Type& type, const Size& size) {
    const unsigned n = size.elements;
    const std::string name = ZtPrimType(type.code).getName();
    const auto range = [=] {
        float least = 0;
        float largest = 0;
        ZtRawData::getRange(blocks().input.as(type.code), n, least, largest);
        benchmark::DoNotOptimize(least);
        benchmark::DoNotOptimize(largest);
    };
    const auto peerRange = [=] {
        double least = 0;
        double largest = 0;
        cv::minMaxIdx(blocks().input.matrix(type, n), &least, &largest);
        benchmark::DoNotOptimize(least);
        benchmark::DoNotOptimize(largest);
    };
    add("range of " + name, type, size,
        {"", "cv::minMaxIdx", size.isInCache ? 4.0 : 1.0, range, peerRange, nullptr});
    if (size.isInCache)
        return;
    addAgainstCopy("range of " + name, type, size, 0.85, bytes(type.code, n), range);
    // The output holds zeros, or some number, throughout.
    addAgainstCopy("constancy of " + name, type, size, 0.85, bytes(type.code, n), [=] {
        static int filledAs = -1;
        if (filledAs != type.code)
            ZtRawData::memset(blocks().ours.as(type.code), 42, n);
        filledAs = type.code;
        if (!ZtRawData::isConstant(blocks().ours.as(type.code), n))
            std::abort();
    });
}

void addSwap(const Type& type, const Size& size) {
    const unsigned n = size.elements;
    addAgainstCopy(std::string("swap bytes of ") + ZtPrimType(type.code).getName(), type, size,
                   size.isInCache ? 0.9 : 0.85, 2 * bytes(type.code, n),
                   [=] { ZtRawData::swapBytes(blocks().input.as(type.code), n); });
}

}  // namespace

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    for (const Size& size : {kLarge, kSmall}) {
        for (const bool isMapped : {false, true})
            for (const Type& from : kTypes)
                for (const Type& to : kTypes)
                    if (isMapped || from.code != to.code)
                        addConversion(from, to, size, isMapped);
        for (const Type& type : kTypes)
            addLooks(type, size);
        for (const Type& type : {kTypes[2], kTypes[4], kTypes[5]})
            addSwap(type, size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
