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
