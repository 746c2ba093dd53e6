// Helpers of the tool's tests: a scratch folder, runs of the program, volumes to feed it.
#pragma once

#include <nifti2_io.h>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;  // as a shell has it: 128 + n for an end by signal n
    std::string out;
    std::string err;
};

/// What a volume in a file shall be like; the values are stored ones.
struct Grid {
    std::array<int, 3> dims = {1, 1, 1};
    std::vector<double> values;
    int datatype = NIFTI_TYPE_UINT8;
    double slope = 0;
    double intercept = 0;
    bool swapped = false;
    int version = 1;
    std::array<double, 3> spacing = {1, 1, 1};
    int fourthDim = 1;
    bool annotated = false;  // with an sform, a description and an extension

    std::size_t size() const { return values.size(); }
    /// What a stored value stands for. NIfTI-1 has the scaling in single precision.
    double scaled(double stored) const {
        if (slope == 0)
            return stored;
        return version == 2 ? slope * stored + intercept
                            : static_cast<float>(slope) * stored + static_cast<float>(intercept);
    }
};

/// The value that the volume's element type makes of one.
double storedAs(int datatype, double value);

/// True components by flood fill, numbered in raster order of first voxels; `belongs(a, b)` tells
/// whether neighbours a and b are connected, `isIn(a)` whether a is in any.
std::vector<int> floodFill(const Grid& grid, int connectivity, auto isIn, auto belongs) {
    std::vector<int> labels(grid.size());
    const auto [nx, ny, nz] = grid.dims;
    int count = 0;
    for (std::size_t seed = 0; seed < grid.size(); ++seed) {
        if (labels[seed] != 0 || !isIn(seed))
            continue;
        labels[seed] = ++count;
        for (std::vector<std::size_t> open{seed}; !open.empty();) {
            const std::size_t at = open.back();
            open.pop_back();
            const int x = static_cast<int>(at) % nx;
            const int y = static_cast<int>(at) / nx % ny;
            const int z = static_cast<int>(at) / nx / ny;
            for (int d = 0; d < 27; ++d) {
                const int dx = d % 3 - 1, dy = d / 3 % 3 - 1, dz = d / 9 - 1;
                const int steps = dx * dx + dy * dy + dz * dz;
                const bool near = connectivity == 4    ? dz == 0 && steps == 1
                                  : connectivity == 8  ? dz == 0
                                  : connectivity == 6  ? steps == 1
                                  : connectivity == 10 ? dz == 0 || steps == 1
                                  : connectivity == 18 ? steps <= 2
                                                       : true;
                if (!near || x + dx < 0 || x + dx >= nx || y + dy < 0 || y + dy >= ny ||
                    z + dz < 0 || z + dz >= nz)
                    continue;
                const auto next = static_cast<std::size_t>(x + dx + nx * (y + dy + ny * (z + dz)));
                if (labels[next] == 0 && isIn(next) && belongs(at, next)) {
                    labels[next] = count;
                    open.push_back(next);
                }
            }
        }
    }
    return labels;
}

class ToolTest : public testing::Test {
protected:
    ToolTest();
    ~ToolTest() override;

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    /// Runs `ztlabel ARGUMENTS` in the scratch folder; `before` goes in front in the shell's line.
    Outcome run(const std::string& arguments, const std::string& before = "") const;
    /// Runs it, expects success, and returns its JSON.
    nlohmann::json runForJson(const std::string& arguments) const;

    /// Writes a volume; the ending of the name tells which form it takes.
    void write(const std::string& name, const Grid& grid) const;
    void writeText(const std::string& name, const std::string& text) const;
    std::string read(const std::string& name) const;
    /// Reads a label volume by the NIfTI library, expecting the type.
    std::vector<int> readLabels(const std::string& name, int datatype) const;
    /// The names in the scratch folder, sorted.
    std::vector<std::string> files() const;

private:
    fs::path folder_;
};
