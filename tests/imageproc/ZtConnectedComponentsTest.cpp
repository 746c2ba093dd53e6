// The public labelling functions: their rules, messages, limits and failures.
#include <gtest/gtest.h>
#include <ztlib/ZtConnectedComponents.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtProgressInterface.h>

#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "imageproc/Components.h"

using namespace ZtConnectedComponents;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Labelling {
    int count = 0;
    std::vector<unsigned short> labels;
    ZtDArray<Component> list;
};

template <class T>
Labelling labelArray(std::vector<T>& voxels, const int* dims, int connectivity, double min,
                     double max) {
    Labelling result;
    result.labels.assign(voxels.size(), 9);
    unsigned short* labels = result.labels.data();
    result.count = labelCC(ZtTypedPointer(voxels.data()), dims, connectivity, labels, 0, min, max,
                           0, 0, &result.list, nullptr);
    return result;
}

TEST(Components, FieldsLieWhereClientsExpectThem) {
    static_assert(sizeof(Component) == 24);
    Component a, b;
    a.alias = 3;
    a.numVoxels = 5;
    b.numVoxels = 4;
    a.mark = b.mark = 2;
    b.sumX = b.sumY = b.sumZ = 1.5f;
    EXPECT_EQ(1, compareComponents(a, b));
    EXPECT_EQ(-1, compareComponents(b, a));
    EXPECT_EQ(0, compareComponents(a, a));
    Component inLabelMode(a), source(b);
    a.addAlias(b, 0);
    inLabelMode.addAlias(source, 1);
    EXPECT_TRUE(a.numVoxels == 9 && a.mark == 4 && inLabelMode.mark == 2);
    EXPECT_TRUE(a.sumX == 1.5f && a.sumY == 1.5f && a.sumZ == 1.5f);
    EXPECT_EQ(3, b.alias);
}

TEST(Components, EmptyGridsHaveNone) {
    unsigned char voxel = 1;
    for (const auto& dims : {std::vector<int>{0, 3, 3}, {3, -1, 3}, {INT_MAX, INT_MAX, 0}}) {
        unsigned short* labels = nullptr;
        ZtDArray<Component> list(5);
        EXPECT_EQ(0, labelCC(ZtTypedPointer(&voxel), dims.data(), 26, labels, 0, 1, 1, 0, 0, &list,
                             nullptr));
        EXPECT_EQ(1, list.size());
        ztfree(labels);
    }
    const int huge[3] = {INT_MAX, INT_MAX, INT_MAX};
    unsigned short* labels = nullptr;
    EXPECT_THROW(labelCC(ZtTypedPointer(&voxel), huge, 26, labels, 0, 1, 1, 0, 0, nullptr, nullptr),
                 ZtMemoryException);
}

// How many of some values are at or above each threshold: foreground by the lower, marked by the
// upper.
template <class T>
void expectThresholds(std::vector<T> values,
                      const std::vector<std::pair<double, unsigned>>& thresholds) {
    for (const auto& [threshold, count] : thresholds) {
        SCOPED_TRACE(threshold);
        const int dims[3] = {1, 1, static_cast<int>(values.size())};
        Labelling all = labelArray(values, dims, 5, threshold, threshold);
        EXPECT_EQ(static_cast<int>(count), all.count);
        const double lowest =
            std::is_floating_point_v<T> ? -INFINITY : std::numeric_limits<T>::min();
        all = labelArray(values, dims, 5, lowest, threshold);
        unsigned marked = 0;
        for (int i = 1; i <= all.count; ++i)
            marked += all.list[i].mark;
        EXPECT_EQ(count, marked);
    }
}

TEST(Components, ThresholdsAreRoundedClampedAndWrapped) {
    const std::pair<double, unsigned> byteRows[] = {{0.49, 4}, {0.5, 3},  {256, 4},   {257, 3},
                                                    {-1, 1},   {1e10, 1}, {-1e10, 4}, {kNaN, 4}};
    expectThresholds<unsigned char>({0, 1, 200, 255}, {std::begin(byteRows), std::end(byteRows)});
    expectThresholds<short>({-32768, -25536, -1, 0, 32767},
                            {{40000, 4}, {0, 2}, {-1.5, 3}, {-0.51, 3}, {32768, 5}});
    expectThresholds<unsigned short>({0, 40000, 65535}, {{40000, 2}, {65536, 3}, {-1, 1}});
    expectThresholds<int>({INT_MIN, -1, 0, INT_MAX},
                          {{1e10, 1}, {-1e10, 4}, {kNaN, 2}, {0.4, 2}, {INT_MIN, 4}});
    expectThresholds<float>({-1.f, 0.f, 0.1f, std::nanf(""), INFINITY},
                            {{0.1, 2}, {kNaN, 0}, {-INFINITY, 4}, {1e300, 1}});
    expectThresholds<double>({-1, 0, 0.1, kNaN}, {{0.1, 1}, {std::nextafter(0.1, 0), 1}, {-5, 3}});
}

TEST(Components, OtherElementTypesAreRefusedBeforeAnythingElse) {
    const std::pair<int, const char*> rows[] = {{ZtPrimType::COMPLEX, "complex"}, {12, "unknown"}};
    for (const auto& [code, name] : rows) {
        double voxel = 1;
        const int dims[3] = {1, 1, 1};
        unsigned short* labels = nullptr;
        ZtDArray<Component> list(3);
        CaptureStderr();
        EXPECT_EQ(-1, labelCC(ZtTypedPointer(&voxel, static_cast<ZtPrimType::Type>(code)), dims, 6,
                              labels, 0, 0, 0, 0, 0, &list, nullptr));
        EXPECT_EQ("Unsupported data type " + std::string(name) + " in ZtRawData()\n",
                  GetCapturedStderr());
        EXPECT_EQ(nullptr, labels);
        EXPECT_EQ(3, list.size());
    }
}

/// `count` single voxels with gaps between them.
std::vector<unsigned char> isolated(int count) {
    std::vector<unsigned char> row(static_cast<std::size_t>(2 * count), 0);
    for (std::size_t i = 0; i < row.size(); i += 2)
        row[i] = 1;
    return row;
}

TEST(Components, SixtyFiveThousandIsOneTooManyForShortLabels) {
    for (const int count : {64998, 64999, 65000}) {
        SCOPED_TRACE(count);
        std::vector<unsigned char> row = isolated(count);
        const int dims[3] = {static_cast<int>(row.size()), 1, 1};
        unsigned short* labels = nullptr;
        ZtDArray<Component> list;
        CaptureStderr();
        const int result =
            labelCC(ZtTypedPointer(row.data()), dims, 6, labels, 0, 1, 1, 0, 0, &list, nullptr);
        EXPECT_EQ(count > 64998 ? "ERROR: too many components" : "", GetCapturedStderr());
        EXPECT_EQ(count > 64998 ? -1 : count, result);
        EXPECT_EQ(64999, list.size());
        EXPECT_EQ(64998, labels[2 * 64997]);
        for (int i = 2 * 64998; i < dims[0]; ++i)
            EXPECT_EQ(0, labels[i]);
        ztfree(labels);

        int* wide = nullptr;
        EXPECT_EQ(count, labelCCHuge(ZtTypedPointer(row.data()), dims, 6, wide, 0, 1, 1, 0, 0,
                                     nullptr, nullptr));
        EXPECT_EQ(count, wide[2 * count - 2]);
        ztfree(wide);
    }
}

TEST(Components, OnlyWhatCoexistsAfterARowCounts) {
    // A comb of 100 teeth in every second row is one component after the next; 1300 combs would be
    // twice too many if their teeth counted.
    const int nx = 200, ny = 2600;
    std::vector<unsigned char> combs(static_cast<std::size_t>(nx * ny), 1);
    for (std::size_t i = 0; i < combs.size(); ++i)
        if (i / nx % 2 == 0)
            combs[i] = i % 2;
    const int dims[3] = {nx, ny, 1};
    for (const int connectivity : {4, 8, 18, 26})
        EXPECT_EQ(1, labelArray(combs, dims, connectivity, 1, 1).count);

    // All teeth in the first row do count, though the next one joins them.
    std::vector<unsigned char> comb = isolated(65000);
    comb.resize(2 * comb.size(), 1);
    const int wide[3] = {130000, 2, 1};
    CaptureStderr();
    EXPECT_EQ(-1, labelArray(comb, wide, 26, 1, 1).count);
    EXPECT_EQ("ERROR: too many components", GetCapturedStderr());
}

TEST(Components, SumsAreExactBeyondThirtyTwoBits) {
    // Three stretches in rows so long that their sums pass 2^32, once within a row.
    const int nx = 300000, ny = 3;
    std::vector<unsigned char> field(static_cast<std::size_t>(nx) * ny, 1);
    for (int y = 0; y < ny; ++y)
        field[static_cast<std::size_t>(nx * y + 10)] =
            field[static_cast<std::size_t>(nx * y + 100000)] = 0;
    const int dims[3] = {nx, ny, 1};
    const Labelling result = labelArray(field, dims, 8, 1, 1);
    ASSERT_EQ(3, result.count);
    const int ends[][2] = {{0, 10}, {11, 100000}, {100001, nx}};
    for (int i = 0; i < 3; ++i) {
        const long long from = ends[i][0], to = ends[i][1];
        EXPECT_EQ(static_cast<float>(ny * (to - from) * (from + to - 1) / 2),
                  result.list[i + 1].sumX);
        EXPECT_EQ(static_cast<float>(3 * (to - from)), result.list[i + 1].sumY);
        EXPECT_EQ(0.f, result.list[i + 1].sumZ);
    }
}

class Recorder : public ZtProgressInterface {
public:
    ~Recorder() override = default;
    void startWorkingNoStop(const char* text) override {
        calls += std::string("start(") + text + ")";
    }
    void stopWorking() override { calls += "stop"; }
    std::string calls;
};

TEST(Components, LabelFieldsReportTheirWorkAndKeepTheirValues) {
    Recorder progress;
    unsigned char field[] = {0, 0, 7, 0, 7, 7, 3, 3, 0};
    const int dims[3] = {3, 3, 1};
    unsigned short labels[9];
    unsigned short* out = labels;
    int wide[9];
    ZtDArray<Component> list;
    EXPECT_EQ(1, labelCC(ZtTypedPointer(field), dims, 4, out, 0, 1, 7, 0, 0, nullptr, &progress));
    EXPECT_EQ("", progress.calls);
    ASSERT_EQ(4, labelLabels(field, dims, 4, labels, 0, 0, list, &progress));
    EXPECT_EQ("start()stop", progress.calls);
    EXPECT_EQ(4, labelLabelsHuge(field, dims, 4, wide, 0, 0, list, nullptr));
    const int expected[] = {1, 1, 2, 1, 2, 2, 3, 3, 4};
    for (int i = 0; i < 9; ++i) {
        EXPECT_TRUE(labels[i] == expected[i] && wide[i] == expected[i]) << i;
        EXPECT_EQ(field[i], list[labels[i]].mark);
    }
}

}  // namespace
