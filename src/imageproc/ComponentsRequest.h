// What a labelling is asked for. No includes of ours: the wide kernels see it.
#pragma once

#include <cstdint>

namespace components {

/// The element types that can be thresholded.
enum class Element : unsigned char { kByte, kShort, kInt, kFloat, kDouble, kUshort };

/// One labelling: what is labelled, how, and where the labels go.
struct Request {
    const void* data;
    Element element;
    /// Neighbours belong together when their values are equal, and there is no background.
    bool labelMode;
    int nx, ny, nz;
    int connectivity;
    /// Thresholds, already converted to the element type (a double holds each exactly).
    double lower, upper;
    /// nx * ny * nz labels of 2 or 4 bytes.
    void* labels;
    int labelBytes;
    /// The most components that may coexist.
    std::uint32_t limit;
    /// Whether labels that are never reached are to be zeroed when the limit is passed.
    bool zeroUnvisited;
};

}  // namespace components
