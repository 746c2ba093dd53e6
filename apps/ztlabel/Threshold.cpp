#include "Threshold.h"

#include "Failure.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <type_traits>
#include <vector>

namespace ztlabel {

namespace {

/// Numbers the values of T in ascending order, from -infinity up where T has one; not-a-numbers lie
/// outside -infinity .. infinity.
template <class T>
int64_t rankOf(T value) {
    if constexpr (std::is_integral_v<T>) {
        return value;
    } else {
        using Bits = std::conditional_t<sizeof(T) == 4, int32_t, int64_t>;
        const auto bits = std::bit_cast<Bits>(value);
        return bits >= 0 ? bits : -static_cast<int64_t>(bits & std::numeric_limits<Bits>::max());
    }
}

template <class T>
T valueOf(int64_t rank) {
    if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(rank);
    } else {
        using Bits = std::conditional_t<sizeof(T) == 4, int32_t, int64_t>;
        const T magnitude = std::bit_cast<T>(static_cast<Bits>(rank < 0 ? -rank : rank));
        return rank < 0 ? -magnitude : magnitude;
    }
}

// Scaling rounds, but monotonously: bisection finds the first stored value that reaches the
// threshold.
template <class T>
std::optional<T> firstReaching(const Volume& volume, double threshold) {
    using Limits = std::numeric_limits<T>;
    int64_t low = rankOf(std::is_integral_v<T> ? Limits::lowest() : -Limits::infinity());
    int64_t high = rankOf(std::is_integral_v<T> ? Limits::max() : Limits::infinity());
    const auto reaches = [&](int64_t rank) { return volume.scaled(valueOf<T>(rank)) >= threshold; };
    if (!reaches(high))
        return std::nullopt;
    if (reaches(low))
        return valueOf<T>(low);
    while (low + 1 < high) {
        const int64_t middle = std::midpoint(low, high);  // their difference may overflow
        if (reaches(middle))
            high = middle;
        else
            low = middle;
    }
    return valueOf<T>(high);
}

struct Histogram {
    double origin = 0;  // the lower edge of bin 0, in stored values
    double width = 1;
    std::vector<long long> counts;
};

template <class T>
Histogram histogramOf(const T* voxels, std::size_t count) {
    bool any = false;
    T least{};
    T largest{};
    for (std::size_t i = 0; i < count; ++i) {
        const T v = voxels[i];
        if constexpr (!std::is_integral_v<T>)
            if (!std::isfinite(v))
                continue;
        least = any && least <= v ? least : v;
        largest = any && largest >= v ? largest : v;
        any = true;
    }
    const double range = static_cast<double>(largest) - static_cast<double>(least);
    if (!any || range == 0)
        throw Failure("Otsu's method finds no threshold: the volume has only one value");
    if (!std::isfinite(range))
        throw Failure("Otsu's method finds no threshold: the values span too wide a range");

    constexpr double kMostExactBins = 65536;
    constexpr double kBins = 4096;
    const bool exact = std::is_integral_v<T> && range < kMostExactBins;
    Histogram histogram;
    histogram.origin = static_cast<double>(least);
    histogram.width = exact ? 1 : range / kBins;
    histogram.counts.resize(static_cast<std::size_t>(exact ? range + 1 : kBins));
    const auto lastBin = static_cast<double>(histogram.counts.size() - 1);
    for (std::size_t i = 0; i < count; ++i) {
        const double v = static_cast<double>(voxels[i]);
        const double bin = std::min((v - histogram.origin) / histogram.width, lastBin);
        if (std::isfinite(v))
            ++histogram.counts[static_cast<std::size_t>(bin)];
    }
    return histogram;
}

/// The first bin of the upper class.
std::size_t bestSplit(const std::vector<long long>& counts) {
    double total = 0;
    double totalSum = 0;
    for (std::size_t bin = 0; bin < counts.size(); ++bin) {
        total += static_cast<double>(counts[bin]);
        totalSum += static_cast<double>(counts[bin]) * static_cast<double>(bin);
    }
    double below = 0;
    double belowSum = 0;
    double best = -1;
    std::size_t split = 1;
    for (std::size_t bin = 0; bin + 1 < counts.size(); ++bin) {
        below += static_cast<double>(counts[bin]);
        belowSum += static_cast<double>(counts[bin]) * static_cast<double>(bin);
        const double above = total - below;
        if (below == 0 || above == 0)
            continue;
        const double distance = belowSum / below - (totalSum - belowSum) / above;
        const double variance = below * above * distance * distance;
        if (variance > best) {
            best = variance;
            split = bin + 1;
        }
    }
    return split;
}

}  // namespace

StoredThreshold storedThreshold(const Volume& volume, double scaled) {
    return volume.visit([&](const auto* voxels) -> StoredThreshold {
        using T = std::remove_cvref_t<decltype(*voxels)>;
        if (!std::is_integral_v<T> && !volume.isScaled())
            return {false, static_cast<double>(static_cast<T>(scaled))};
        const std::optional<T> first = firstReaching<T>(volume, scaled);
        return first ? StoredThreshold{false, static_cast<double>(*first)}
                     : StoredThreshold{true, 0};
    });
}

double otsuThreshold(const Volume& volume) {
    return volume.visit([&](const auto* voxels) {
        using T = std::remove_cvref_t<decltype(*voxels)>;
        const Histogram histogram = histogramOf(voxels, volume.voxelCount());
        const auto split = static_cast<double>(bestSplit(histogram.counts));
        const double edge = histogram.origin + split * histogram.width;
        return volume.scaled(static_cast<T>(std::is_integral_v<T> ? std::ceil(edge) : edge));
    });
}

}  // namespace ztlabel
