// Every form of labelling against a flood fill, on thousands of small fields.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "FloodFill.h"
#include "imageproc/Components.h"

using components::ComponentList;
using components::Element;
using components::Form;
using components::Request;

namespace {

struct Expected {
    struct Component {
        std::uint32_t numVoxels = 0, mark = 0;
        std::uint64_t sumX = 0, sumY = 0, sumZ = 0;
    };
    std::vector<int> labels;
    std::vector<Component> components{1};
};

/// Floods the first `end` voxels.
template <class T>
Expected flood(const Request& request, const std::vector<T>& field, std::size_t end) {
    const std::array<int, 3> dims = {request.nx, request.ny, request.nz};
    const auto isIn = [&](std::size_t i) {
        return request.labelMode || field[i] >= static_cast<T>(request.lower);
    };
    const auto belongs = [&](std::size_t a, std::size_t b) {
        return !request.labelMode || field[a] == field[b];
    };
    Expected expected;
    expected.labels = floodFill(dims, request.connectivity, isIn, belongs, end);
    for (int i = 0; const int label : expected.labels) {
        const int x = i % request.nx, y = i / request.nx % request.ny;
        const int z = i / request.nx / request.ny;
        const T value = field[static_cast<std::size_t>(i++)];
        if (label == 0)
            continue;
        expected.components.resize(
            std::max(expected.components.size(), static_cast<std::size_t>(label) + 1));
        Expected::Component& component = expected.components[static_cast<std::size_t>(label)];
        ++component.numVoxels;
        component.sumX += static_cast<unsigned>(x);
        component.sumY += static_cast<unsigned>(y);
        component.sumZ += static_cast<unsigned>(z);
        if (request.labelMode)
            component.mark = static_cast<std::uint32_t>(value);
        else
            component.mark += value >= static_cast<T>(request.upper);
    }
    return expected;
}

/// What labelling stops at: the number of voxels, or the voxel that is one component too many in
/// the first row after which too many coexist.
template <class T>
std::size_t endOfLabelling(const Request& request, const std::vector<T>& field) {
    const auto count = [&](std::size_t end) {
        return flood(request, field, end).components.size();
    };
    const auto nx = static_cast<std::size_t>(request.nx);
    for (std::size_t end = nx; end <= field.size(); end += nx) {
        if (count(end) - 1 <= request.limit)
            continue;
        for (std::size_t voxel = end - nx;; ++voxel)
            if (count(voxel + 1) - 1 > request.limit)
                return voxel;
    }
    return field.size();
}

template <class Label, class T>
void expectLabelling(Request request, const std::vector<T>& field, const Expected& expected,
                     std::size_t end) {
    constexpr Label kUntouched = 0x5A5A;
    constexpr std::size_t kGuard = 64;
    std::vector<Label> labels(field.size() + 2 * kGuard, kUntouched);
    const std::vector<T> data(field);  // of exactly its size, so that a sanitizer sees reads beyond
    request.data = data.data();
    request.labels = labels.data() + kGuard;
    request.labelBytes = sizeof(Label);
    ComponentList list;
    const int count = static_cast<int>(expected.components.size()) - 1;
    EXPECT_EQ(end < field.size() ? -1 : count, components::label(request, list));
    ASSERT_EQ(count + 1, list.size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const bool isInside = i >= kGuard && i < kGuard + field.size();
        Label label = kUntouched;
        if (isInside && i - kGuard < end)
            label = static_cast<Label>(expected.labels[i - kGuard]);
        else if (isInside && request.zeroUnvisited)
            label = 0;
        ASSERT_EQ(label, labels[i]) << "voxel " << i - kGuard;
    }
    for (int i = 0; i <= count; ++i) {
        const Expected::Component& want = expected.components[static_cast<std::size_t>(i)];
        ASSERT_EQ(i, list[i].alias);
        ASSERT_EQ(want.numVoxels, list[i].numVoxels) << "component " << i;
        ASSERT_EQ(want.mark, list[i].mark) << "component " << i;
        ASSERT_EQ(static_cast<float>(want.sumX), list[i].sumX) << "component " << i;
        ASSERT_EQ(static_cast<float>(want.sumY), list[i].sumY) << "component " << i;
        ASSERT_EQ(static_cast<float>(want.sumZ), list[i].sumZ) << "component " << i;
    }
}

using Random = std::mt19937;

unsigned below(Random& random, unsigned n) {
    return static_cast<unsigned>(random()) % n;
}

void chooseGrid(Random& random, Request& request) {
    static constexpr int kConnectivities[] = {4, 6, 8, 10, 18, 26, 26, 5};
    static constexpr int kWidths[] = {31, 62, 63, 64, 65, 66, 127, 128, 129, 192, 200};
    const auto upTo = [&](unsigned n) { return 1 + static_cast<int>(below(random, n)); };
    request.connectivity = kConnectivities[below(random, 8)];
    switch (below(random, 6)) {
        case 0:  // 1-D, along each axis
            request.nx = request.ny = request.nz = 1;
            (upTo(3) == 1 ? request.nx : upTo(2) == 1 ? request.ny : request.nz) = upTo(300);
            break;
        case 1:
        case 2:
            request.nx = kWidths[below(random, 11)];
            request.ny = upTo(9);
            request.nz = upTo(request.ny > 4 ? 2 : 5);
            break;
        default:
            request.nx = upTo(9);
            request.ny = upTo(9);
            request.nz = upTo(9);
    }
}

/// A field with runs of some length, or the row before carried on, or noise; values 0 to 99.
template <class T>
std::vector<T> randomField(Random& random, const Request& request) {
    std::vector<T> field(static_cast<std::size_t>(request.nx * request.ny * request.nz));
    const unsigned numValues = 1 + below(random, 10);
    const unsigned length = 1 + below(random, 1u << below(random, 8));
    const unsigned copied = below(random, 2) * below(random, 10);
    const bool hasNaN = std::is_floating_point_v<T> && below(random, 4) == 0;
    const auto nx = static_cast<std::size_t>(request.nx);
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (i >= nx && below(random, 10) < copied)
            field[i] = field[i - nx];
        else if (i > 0 && below(random, length) > 0)
            field[i] = field[i - 1];
        else
            field[i] = static_cast<T>(below(random, numValues) * (100 / numValues));
        if (hasNaN && below(random, 10) == 0)
            field[i] = std::numeric_limits<T>::quiet_NaN();
    }
    return field;
}

template <class T>
class ComponentsForms : public testing::Test {
protected:
    static constexpr Element element() {
        if constexpr (std::is_same_v<T, std::uint8_t>)
            return Element::kByte;
        else if constexpr (std::is_same_v<T, std::int16_t>)
            return Element::kShort;
        else if constexpr (std::is_same_v<T, std::uint16_t>)
            return Element::kUshort;
        else if constexpr (std::is_same_v<T, std::int32_t>)
            return Element::kInt;
        else
            return std::is_same_v<T, float> ? Element::kFloat : Element::kDouble;
    }

    /// Labels `rounds` random fields in every form, with a limit of components in some.
    void labelFields(bool labelMode, unsigned seed, int rounds) {
        Random random(seed);
        for (int round = 0; round < rounds && !this->HasFatalFailure(); ++round) {
            Request request = {};
            request.labelMode = labelMode;
            request.element = element();
            chooseGrid(random, request);
            const std::vector<T> field = randomField<T>(random, request);
            request.lower = below(random, 100);
            request.upper = below(random, 120);
            request.limit = 1000000;
            std::size_t end = field.size();
            Expected expected = flood(request, field, end);
            if (field.size() < 1000 && expected.components.size() > 2 && below(random, 2)) {
                request.limit =
                    1 + below(random, static_cast<unsigned>(expected.components.size()));
                request.zeroUnvisited = below(random, 2);
                end = endOfLabelling(request, field);
                expected = flood(request, field, end);
            }
            for (const Form form : {Form::kPlain, Form::kPortable, Form::kWide}) {
                if (!components::hasForm(form))
                    continue;
                SCOPED_TRACE("round " + std::to_string(round) + ", form " +
                             std::to_string(static_cast<int>(form)) + ", connectivity " +
                             std::to_string(request.connectivity) + ", limit " +
                             std::to_string(request.limit) + ", " + std::to_string(request.nx) +
                             " x " + std::to_string(request.ny) + " x " +
                             std::to_string(request.nz));
                components::useForm(form);
                expectLabelling<std::uint16_t>(request, field, expected, end);
                expectLabelling<std::uint32_t>(request, field, expected, end);
            }
            components::useForm(Form::kAutomatic);
        }
    }
};

using Elements =
    testing::Types<std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ComponentsForms, Elements);

TYPED_TEST(ComponentsForms, AgreeWithAFloodFillOnThresholdedFields) {
    this->labelFields(false, 11, 500);
}

using LabelFieldForms = ComponentsForms<std::uint8_t>;

TEST_F(LabelFieldForms, AgreeWithAFloodFill) {
    labelFields(true, 12, 1500);
}

}  // namespace
