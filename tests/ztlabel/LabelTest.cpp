// What the tool finds: against a flood fill on small volumes of every kind, and on real ones.
#include "Tool.h"

#include <ztlib/ZtMorphology.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <set>

#include "FloodFill.h"

using testing::HasSubstr;

namespace {

const std::string kTemplates = "/usr/share/mricron/templates/";

Grid randomGrid(std::array<int, 3> dims, int datatype, std::vector<double> values, unsigned seed) {
    std::mt19937 random(seed);
    Grid grid;
    grid.dims = dims;
    grid.datatype = datatype;
    for (int i = 0; i < dims[0] * dims[1] * dims[2]; ++i)
        grid.values.push_back(storedAs(datatype, values[random() % values.size()]));
    return grid;
}

struct Expected {
    long long voxels = 0, marked = 0;
    std::array<double, 3> sum = {};
    std::array<int, 6> box = {1 << 30, -1, 1 << 30, -1, 1 << 30, -1};
};

/// Expects that counts, centres and boxes of the table are those of the labels.
void expectTable(const nlohmann::json& table, const Grid& grid, const std::vector<int>& labels,
                 auto isMarked) {
    std::vector<Expected> rows(table.size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        if (labels[i] == 0)
            continue;
        ASSERT_LE(static_cast<std::size_t>(labels[i]), rows.size());
        Expected& row = rows[static_cast<std::size_t>(labels[i] - 1)];
        const int at = static_cast<int>(i);
        const int position[3] = {at % grid.dims[0], at / grid.dims[0] % grid.dims[1],
                                 at / grid.dims[0] / grid.dims[1]};
        ++row.voxels;
        row.marked += isMarked(i);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            row.sum[axis] += position[axis];
            row.box[2 * axis] = std::min(row.box[2 * axis], position[axis]);
            row.box[2 * axis + 1] = std::max(row.box[2 * axis + 1], position[axis]);
        }
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const nlohmann::json& row = table[i];
        EXPECT_EQ(row["label"], i + 1);
        EXPECT_EQ(row["voxels"], rows[i].voxels);
        if (row.contains("marked")) {
            EXPECT_EQ(row["marked"], rows[i].marked);
        }
        EXPECT_EQ(row["box"], nlohmann::json(rows[i].box));
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(row["centroid_voxel"][axis],
                        rows[i].sum[axis] / static_cast<double>(rows[i].voxels), 1e-9);
    }
}

}  // namespace

class LabelTest : public ToolTest {
protected:
    void expectComponents(const Grid& grid, const std::string& file, const std::string& output,
                          int connectivity, double threshold, double upper) const {
        std::ostringstream arguments;
        arguments.precision(17);
        arguments << "--sort raster -c " << connectivity << " -t " << threshold << " -u " << upper
                  << " " << file << " " << output;
        SCOPED_TRACE(arguments.str() + " type " + std::to_string(grid.datatype));
        const auto reaches = [&](std::size_t i, double t) {
            return grid.scaled(grid.values[i]) >= t;
        };
        const auto isIn = [&](std::size_t i) { return reaches(i, threshold); };
        const std::vector<int> labels = floodFill(
            grid.dims, connectivity, isIn, [](std::size_t, std::size_t) { return true; },
            grid.size());
        for (const std::string& name : files())
            if (name.starts_with("out."))  // the NIfTI library reads out.nii for out.nii.gz
                fs::remove(path(name));
        const nlohmann::json json = runForJson(arguments.str());
        EXPECT_EQ(readLabels(output, NIFTI_TYPE_UINT16), labels);
        EXPECT_EQ(json["components"], *std::max_element(labels.begin(), labels.end()));
        EXPECT_EQ(json["connectivity"], connectivity);
        EXPECT_EQ(json["foreground"],
                  std::count_if(labels.begin(), labels.end(), [](int l) { return l != 0; }));
        expectTable(json["table"], grid, labels, [&](std::size_t i) { return reaches(i, upper); });
    }
};

TEST_F(LabelTest, TakesEveryTypeByteOrderFormAndScaling) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct Row {
        const char* name;
        int datatype;
        std::vector<double> values;
        double threshold, upper;
    };
    const Row rows[] = {
        {"u8", NIFTI_TYPE_UINT8, {0, 99, 100, 101, 255}, 100, 101},
        {"u8-beyond", NIFTI_TYPE_UINT8, {0, 1, 255}, 1, 256},
        {"i8", NIFTI_TYPE_INT8, {-128, -1, 0, 127}, -1, 100},
        {"i16", NIFTI_TYPE_INT16, {-32768, -7, 0, 32767}, -7.5, 32767},
        {"i16-none", NIFTI_TYPE_INT16, {-32768, 0, 32767}, 40000, 50000},
        {"u16", NIFTI_TYPE_UINT16, {0, 40000, 65535}, 39999.5, 65535.5},
        {"i32", NIFTI_TYPE_INT32, {-2147483648.0, 5, 2147483647}, 5, 2147483647},
        {"u32", NIFTI_TYPE_UINT32, {0, 2147483648.0, 4294967295.0}, 2147483648.0, 1e10},
        {"i64", NIFTI_TYPE_INT64, {-1e15, 0, 1e15}, 0, 1e15},
        {"u64", NIFTI_TYPE_UINT64, {0, 1e15, 2e15}, 1e15, 2e15},
        {"f32", NIFTI_TYPE_FLOAT32, {-1.5, 0.25, 3, NAN, kInfinity}, 0.25, 3},
        {"f64", NIFTI_TYPE_FLOAT64, {-1e300, 0.1, 0.3, NAN, -kInfinity}, 0.1, 0.3},
    };
    const std::pair<const char*, const char*> forms[] = {{".nii", "out.nii"},
                                                         {".nii.gz", "out.nii.gz"},
                                                         {".hdr", "out.hdr"},
                                                         {".hdr.gz", "out.img.gz"}};
    const int connectivities[] = {4, 8, 6, 10, 18, 26};
    const double slopes[] = {0, 0.1, -2, -0.3};
    unsigned turn = 0;
    for (const Row& row : rows)
        for (double slope : slopes) {
            Grid grid = randomGrid({7, 5, 4}, row.datatype, row.values, turn);
            grid.slope = slope;
            grid.intercept = 12.5;
            grid.swapped = turn % 2 == 1;
            grid.version = turn % 3 == 0 ? 2 : 1;
            const auto& [ending, output] = forms[turn % 4];
            // The thresholds are at stored values: the case that rounding easily loses.
            write(row.name + std::string(ending), grid);
            expectComponents(grid, row.name + std::string(ending), output, connectivities[turn % 6],
                             grid.scaled(row.threshold), grid.scaled(row.upper));
            ++turn;
        }
    // Single precision compares in its own precision.
    const double near = storedAs(NIFTI_TYPE_FLOAT32, 0.7),
                 less = storedAs(NIFTI_TYPE_FLOAT32, 0.69);
    write("a.nii", {.dims = {2, 1, 1}, .values = {near, less}, .datatype = NIFTI_TYPE_FLOAT32});
    EXPECT_EQ(runForJson("-t 0.7 a.nii")["foreground"], 1);
}

TEST_F(LabelTest, SplitsLabelFieldsOfAnyValues) {
    std::vector<double> many(300);
    std::generate(many.begin(), many.end(), [n = 0.0]() mutable { return n += 7; });
    std::vector<double> busy(2000);
    std::generate(busy.begin(), busy.end(), [n = -1000.0]() mutable { return n += 1; });
    struct Row {
        const char* name;
        int datatype;
        std::array<int, 3> dims;
        std::vector<double> values;
        std::vector<int> connectivities = {6, 18, 26, 8};
    };
    const Row rows[] = {
        {"bytes", NIFTI_TYPE_UINT8, {9, 8, 7}, {0, 1, 255}},
        {"wide values", NIFTI_TYPE_INT32, {9, 8, 7}, {-70000, 0, 70000}},
        {"fractions", NIFTI_TYPE_FLOAT32, {9, 8, 7}, {-0.0, 0.0, 0.5, 1.5}},
        {"more values than codes", NIFTI_TYPE_INT16, {9, 9, 9}, busy},
        {"more neighbouring values than codes", NIFTI_TYPE_UINT16, {32, 32, 32}, many, {26}},
    };
    unsigned turn = 0;
    for (const Row& row : rows)
        for (int connectivity : row.connectivities) {
            SCOPED_TRACE(std::string(row.name) + " " + std::to_string(connectivity));
            Grid grid = randomGrid(row.dims, row.datatype, row.values, ++turn);
            grid.slope = turn % 2 == 0 ? -3 : 0;
            write("field.nii", grid);
            const std::vector<int> labels = floodFill(
                grid.dims, connectivity, [](std::size_t) { return true; },
                [&](std::size_t a, std::size_t b) { return grid.values[a] == grid.values[b]; },
                grid.size());
            const nlohmann::json json =
                runForJson("--labels --sort raster -c " + std::to_string(connectivity) +
                           " field.nii out.nii.gz");
            EXPECT_EQ(readLabels("out.nii.gz", NIFTI_TYPE_UINT16), labels);
            expectTable(json["table"], grid, labels, [](std::size_t) { return false; });
            for (std::size_t i = 0; i < labels.size(); ++i)
                ASSERT_EQ(json["table"][static_cast<std::size_t>(labels[i] - 1)]["source"],
                          grid.values[i] * (grid.slope == 0 ? 1 : grid.slope));
        }
}

TEST_F(LabelTest, GoesOnWithWideLabelsByItself) {
    Grid grid;  // isolated voxels, 70225 of them, and one of two voxels
    grid.dims = {531, 531, 1};
    for (int y = 0; y < 531; ++y)
        for (int x = 0; x < 531; ++x)
            grid.values.push_back(x % 2 == 1 && y % 2 == 1 ? 9 : 0);
    grid.values[2 * 531 + 1] = 9;
    write("dots.nii", grid);
    const Outcome result = run("-t 9 --rows 1 dots.nii out.nii");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "ztlabel: more than 64998 components: labelled with 32 bits\n");
    EXPECT_THAT(result.out, HasSubstr("total: 70224 components"));
    const std::vector<int> labels = readLabels("out.nii", NIFTI_TYPE_INT32);
    EXPECT_EQ(*std::max_element(labels.begin(), labels.end()), 70224);

    EXPECT_EQ(runForJson("-t 9 --min-size 3 dots.nii out.nii")["components"], 1);
    readLabels("out.nii", NIFTI_TYPE_UINT16);
}

TEST_F(LabelTest, OrdersAndLeavesOut) {
    Grid grid;
    grid.dims = {9, 1, 1};
    grid.values = {5, 0, 5, 5, 0, 7, 0, 9, 8};
    write("row.nii", grid);
    using Labels = std::vector<int>;
    const std::pair<const char*, Labels> rows[] = {
        {"", {3, 0, 1, 1, 0, 4, 0, 2, 2}},  // equal sizes in raster order
        {"--sort raster", {1, 0, 2, 2, 0, 3, 0, 4, 4}},
        {"--min-size 2", {0, 0, 1, 1, 0, 0, 0, 2, 2}},
        {"--largest", {0, 0, 1, 1, 0, 0, 0, 0, 0}},
        {"--largest --sort raster --min-size 3", Labels(9)},
    };
    for (const auto& [options, labels] : rows) {
        SCOPED_TRACE(options);
        const nlohmann::json json = runForJson(std::string("-t 5 -u 7 row.nii out.nii ") + options);
        EXPECT_EQ(readLabels("out.nii", NIFTI_TYPE_UINT16), labels);
        EXPECT_EQ(json["connectivity"], 8);
        EXPECT_EQ(json["found"], 4);
        EXPECT_EQ(json["components"], json["table"].size());
        EXPECT_EQ(json["foreground"], 6);
        EXPECT_EQ(json["marked"], 3);
    }
}

TEST_F(LabelTest, ChangesTheMaskBeforeItIsLabelled) {
    const bool erosion = true, dilation = false;
    const struct {
        const char* options;
        std::vector<std::pair<bool, int>> steps;
        bool region;
    } rows[] = {
        {"--erode 1", {{erosion, 1}}, false},
        {"--dilate 2", {{dilation, 2}}, false},
        {"--open 1", {{erosion, 1}, {dilation, 1}}, false},
        {"--close 1 --erode 2", {{dilation, 1}, {erosion, 3}}, false},
        {"--erode 1 --dilate 1 --erode 0", {{erosion, 1}, {dilation, 1}}, false},
        {"--dilate 1 --erode 1", {{dilation, 1}, {erosion, 1}}, false},
        {"--roi '0.5,0.5 9.6,0.5 0.5,7.5'", {}, true},
        {"--close 1 --roi '0.5,0.5 9.6,0.5 0.5,7.5'", {{dilation, 1}, {erosion, 1}}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.options);
        const Grid grid = randomGrid({41, 9, 6}, NIFTI_TYPE_INT16, {-3, 4, 5, 6, 7, 8}, 5);
        write("in.nii", grid);
        ZtBitfield mask(41 * 9 * 6), region(mask.nBits());
        for (unsigned i = 0; i < mask.nBits(); ++i) {
            const double x = i % 41 - 0.5, y = i / 41 % 9 - 0.5;
            region.set(i, !row.region || (x > 0 && y > 0 && x / 9.1 + y / 7 < 1));
            mask.set(i, grid.values[i] >= 5 && region[i]);
        }
        const ZtVec3i dims(grid.dims.data());
        for (const auto& [isErosion, steps] : row.steps)
            if (isErosion)
                ZtMorphology::erosion3D(mask, mask, dims, steps);
            else
                ZtMorphology::dilation3D(mask, mask, dims, static_cast<unsigned>(steps));
        mask &= region;
        const std::vector<int> labels = floodFill(
            grid.dims, 6, [&](std::size_t i) { return mask[static_cast<unsigned>(i)] != 0; },
            [](std::size_t, std::size_t) { return true; }, grid.size());
        const nlohmann::json json = runForJson(
            std::string("-t 5 -u 7 -c 6 --sort raster --force in.nii out.nii ") + row.options);
        EXPECT_EQ(readLabels("out.nii", NIFTI_TYPE_UINT16), labels);
        expectTable(json["table"], grid, labels,
                    [&](std::size_t i) { return grid.values[i] >= 7; });
    }
    EXPECT_EQ(run("-t 5 --roi '50,50 60,50 50,60' in.nii").err,
              "ztlabel: --roi: no voxel has its centre in the polygon\n");
    EXPECT_EQ(run("-t 5 --roi '1,2 3' in.nii").status, 2);
    EXPECT_EQ(run("-l --open 1 in.nii").status, 2);
}

TEST_F(LabelTest, OpensARealVolumeAsScipyDoes) {
    if (!fs::exists(kTemplates))
        GTEST_SKIP() << "THE REAL VOLUMES ARE MISSING: install mricron-data";
    const std::string command =
        "/usr/bin/python3 " ZTLABEL_TESTS "/scipy_opening.py " + kTemplates + "ch2.nii.gz 100";
    FILE* const peer = popen(command.c_str(), "r");
    ASSERT_NE(nullptr, peer);
    std::vector<long long> expected;
    for (long long voxels = 0; std::fscanf(peer, "%lld", &voxels) == 1;)
        expected.push_back(voxels);
    const int status = pclose(peer);
    if (expected.empty() && status != 0)
        GTEST_SKIP() << "scipy is not installed";
    const nlohmann::json json = runForJson(kTemplates + "ch2.nii.gz -t 100 --open 1 --sort raster");
    std::vector<long long> found;
    for (const auto& row : json["table"])
        found.push_back(row["voxels"]);
    EXPECT_EQ(expected, found);
}

TEST_F(LabelTest, FindsTheThresholdBetweenTwoModes) {
    std::mt19937 random(3);
    std::normal_distribution<double> low(40, 6), high(160, 10);
    for (int datatype : {NIFTI_TYPE_UINT8, NIFTI_TYPE_INT32, NIFTI_TYPE_FLOAT32})
        for (double slope : {0.0, 0.5, -1.0}) {
            Grid grid;
            grid.dims = {50, 50, 1};
            grid.datatype = datatype;
            grid.slope = slope;
            for (int i = 0; i < 2500; ++i)
                grid.values.push_back(storedAs(datatype, i % 3 == 0 ? high(random) : low(random)));
            write("modes.nii", grid);
            const nlohmann::json json = runForJson("-t otsu modes.nii");
            EXPECT_EQ(json["foreground"], slope < 0 ? 2500 - 834 : 834)
                << datatype << " " << slope << " " << json["threshold"];
        }
    write("flat.nii", {.dims = {3, 1, 1}, .values = {4, 4, 4}});
    const Outcome flat = run("-t otsu flat.nii");
    EXPECT_EQ(flat.status, 1);
    EXPECT_EQ(flat.err,
              "ztlabel: Otsu's method finds no threshold: the volume has only one value\n");
}

TEST_F(LabelTest, GivesTheReferenceAnswersOfRealVolumes) {
    if (!fs::exists(kTemplates))
        GTEST_SKIP() << "THE REAL VOLUMES ARE MISSING: install mricron-data";
    const std::string brain = "-t 100 " + kTemplates + "ch2.nii.gz";
    const std::string atlas = "--labels " + kTemplates + "aal.nii.gz";
    const struct {
        const std::string& call;
        int connectivity, components;
    } rows[] = {
        {brain, 6, 1069}, {brain, 18, 501}, {atlas, 6, 185}, {atlas, 18, 159}, {atlas, 26, 159}};
    for (const auto& [call, connectivity, components] : rows)
        EXPECT_EQ(runForJson(call + " -c " + std::to_string(connectivity))["components"],
                  components);
    const nlohmann::json found = runForJson(brain);
    EXPECT_EQ(found["connectivity"], 26);
    EXPECT_EQ(found["components"], 408);
    const nlohmann::json& largest = found["table"][0];
    EXPECT_EQ(largest["voxels"], 1063172);
    const double centre[] = {89.141, 109.696, 79.709}, world[] = {-0.859, -15.304, 8.709};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(largest["centroid_voxel"][axis], centre[axis], 5e-4);
        EXPECT_NEAR(largest["centroid_mm"][axis], world[axis], 5e-4);
    }
    const nlohmann::json named = runForJson(atlas + " --names " + kTemplates + "aal.nii.txt");
    EXPECT_EQ(named["foreground"], 181 * 217 * 181);
    EXPECT_EQ(named["table"][1]["source"], 8);
    EXPECT_EQ(named["table"][1]["name"], "Frontal_Mid_R");
    for (const auto& entry : fs::directory_iterator(kTemplates))
        if (entry.path().extension() == ".gz") {
            EXPECT_GT(runForJson("-t otsu " + entry.path().string())["components"], 0) << entry;
        }
}
