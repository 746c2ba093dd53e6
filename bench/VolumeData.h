// Volumes to label: noise, smooth blobs, and the real ones of Debian's mricron-data.
#pragma once

#include <zlib.h>
#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace bench {

/// Elements from ztmalloc, so that large arrays lie on huge pages.
template <class T>
class Elements {
public:
    explicit Elements(std::size_t size)
        : size_(size), data_(static_cast<T*>(ztmalloc(size * sizeof(T))), ztfree) {
        std::memset(data_.get(), 0, size * sizeof(T));
    }

    std::size_t size() const { return size_; }
    T* data() const { return data_.get(); }
    T& operator[](std::size_t i) const { return data_.get()[i]; }

private:
    std::size_t size_;
    std::shared_ptr<T> data_;
};

/// A volume of 16-bit elements, and thresholds that suit it: foreground is a matter of `lower`.
struct Volume {
    std::string name;
    int dims[3];
    Elements<std::uint16_t> voxels;
    double lower, upper;

    Volume(std::string itsName, int nx, int ny, int nz, double lowerThreshold,
           double upperThreshold)
        : name(std::move(itsName)),
          dims{nx, ny, nz},
          voxels(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny) *
                 static_cast<std::size_t>(nz)),
          lower(lowerThreshold),
          upper(upperThreshold) {}
};

/// Independent voxels, `percent` of them foreground and a third of these marked.
inline Volume noise(int nx, int ny, int nz, unsigned percent) {
    Volume volume(std::to_string(percent) + " % noise", nx, ny, nz, 1000, 2000);
    std::mt19937_64 random(17);
    for (std::size_t i = 0; i < volume.voxels.size(); ++i) {
        const auto bits = static_cast<std::uint32_t>(random() >> 32);
        const bool isForeground = bits % 100 < percent;
        volume.voxels[i] =
            static_cast<std::uint16_t>(isForeground ? 1000 + bits / 100 % 1500 : bits / 100 % 1000);
    }
    return volume;
}

/// Averages `values` over 2 * radius + 1 neighbours along one axis, around its ends.
inline void average(Elements<float>& values, std::size_t length, std::size_t stride,
                    std::size_t radius) {
    std::vector<float> line(length);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i / stride % length != 0)
            continue;
        const auto at = [&](std::size_t k) -> float& { return values[i + k % length * stride]; };
        float sum = 0;
        for (std::size_t k = 0; k < 2 * radius + 1; ++k)
            sum += at(length - radius + k);
        for (std::size_t k = 0; k < length; ++k) {
            line[k] = sum / static_cast<float>(2 * radius + 1);
            sum += at(k + radius + 1) - at(length + k - radius);
        }
        for (std::size_t k = 0; k < length; ++k)
            at(k) = line[k];
    }
}

/// Smoothed noise, half of it foreground.
inline Volume blobs(int nx, int ny, int nz, std::size_t radius) {
    Volume volume("smooth blobs", nx, ny, nz, 1000, 1300);
    Elements<float> values(volume.voxels.size());
    std::mt19937 random(23);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(random() & 0xFFFF) - 32767.5f;
    std::size_t stride = 1;
    for (const int n : volume.dims) {
        const auto length = static_cast<std::size_t>(n);
        for (int pass = 0; pass < 3 && n > 1; ++pass)
            average(values, length, stride, std::min(radius, length / 4));
        stride *= length;
    }
    double squares = 0;
    for (std::size_t i = 0; i < values.size(); ++i)
        squares += static_cast<double>(values[i]) * static_cast<double>(values[i]);
    const float scale =
        static_cast<float>(300 / std::sqrt(squares / static_cast<double>(values.size())));
    for (std::size_t i = 0; i < values.size(); ++i)
        volume.voxels[i] =
            static_cast<std::uint16_t>(std::clamp(1000 + values[i] * scale, 0.f, 4000.f));
    return volume;
}

/// Reads a volume of bytes from Debian's mricron-data, as 16-bit elements; none when it is missing.
inline std::unique_ptr<Volume> realVolume(const std::string& name, double lower, double upper) {
    const std::string path = "/usr/share/mricron/templates/" + name;
    gzFile file = gzopen(path.c_str(), "rb");
    if (!file)
        return nullptr;
    unsigned char header[352] = {};
    gzread(file, header, sizeof header);
    std::int16_t dims[3];
    float offset;
    std::memcpy(dims, header + 42, sizeof dims);
    std::memcpy(&offset, header + 108, sizeof offset);
    auto volume = std::make_unique<Volume>(name, dims[0], dims[1], dims[2], lower, upper);
    std::vector<unsigned char> bytes(volume->voxels.size());
    gzseek(file, static_cast<z_off_t>(offset), SEEK_SET);
    gzread(file, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(file);
    std::copy(bytes.begin(), bytes.end(), volume->voxels.data());
    return volume;
}

}  // namespace bench
