// The plain form of labelling against a flood fill, and every other form against the plain one.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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

/// What a form makes of a request, with what lies around the labels.
template <class Label>
struct Outcome {
    static constexpr std::size_t kGuard = 64;

    template <class T>
    Outcome(Request request, const std::vector<T>& field, Form form)
        : labels(field.size() + 2 * kGuard, 0x5A5A) {
        const std::vector<T> data(field);  // of exactly its size: a sanitizer sees reads beyond
        request.data = data.data();
        request.labels = labels.data() + kGuard;
        request.labelBytes = sizeof(Label);
        components::useForm(form);
        count = components::label(request, list);
        components::useForm(Form::kAutomatic);
    }
    bool operator==(const Outcome& other) const {
        return count == other.count && labels == other.labels && list.size() == other.list.size() &&
               std::memcmp(&list[0], &other.list[0],
                           static_cast<std::size_t>(list.size()) * sizeof list[0]) == 0;
    }

    int count;
    std::vector<Label> labels;
    ComponentList list;
};

template <class T>
void expectFlooded(const Request& request, const std::vector<T>& field,
                   const Outcome<std::uint32_t>& actual) {
    const auto isIn = [&](std::size_t i) {
        return request.labelMode || field[i] >= static_cast<T>(request.lower);
    };
    const auto belongs = [&](std::size_t a, std::size_t b) {
        return !request.labelMode || field[a] == field[b];
    };
    const std::vector<int> labels = floodFill({request.nx, request.ny, request.nz},
                                              request.connectivity, isIn, belongs, field.size());
    ASSERT_EQ(actual.count + 1, actual.list.size());
    std::vector<ZtConnectedComponents::Component> expected(
        static_cast<std::size_t>(actual.list.size()));
    for (std::size_t i = 0; i < field.size(); ++i) {
        ASSERT_EQ(static_cast<unsigned>(labels[i]), actual.labels[i + actual.kGuard]) << i;
        if (labels[i] == 0)
            continue;
        auto& component = expected.at(static_cast<std::size_t>(labels[i]));
        const int x = static_cast<int>(i) % request.nx, rows = static_cast<int>(i) / request.nx;
        ++component.numVoxels;
        component.sumX += static_cast<float>(x);
        component.sumY += static_cast<float>(rows % request.ny);
        component.sumZ += static_cast<float>(rows / request.ny);
        if (request.labelMode)
            component.mark = static_cast<std::uint32_t>(field[i]);
        else
            component.mark += field[i] >= static_cast<T>(request.upper);
    }
    for (int i = 0; i <= actual.count; ++i) {
        expected[static_cast<std::size_t>(i)].alias = i;
        ASSERT_EQ(0, std::memcmp(&expected[static_cast<std::size_t>(i)], &actual.list[i],
                                 sizeof actual.list[i]))
            << "component " << i;
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
            const Outcome<std::uint32_t> plain(request, field, Form::kPlain);
            ASSERT_NO_FATAL_FAILURE(expectFlooded(request, field, plain));
            if (plain.count > 1 && below(random, 2)) {
                request.limit = 1 + below(random, static_cast<unsigned>(plain.count));
                request.zeroUnvisited = below(random, 2);
            }
            SCOPED_TRACE("round " + std::to_string(round) + ", connectivity " +
                         std::to_string(request.connectivity) + ", limit " +
                         std::to_string(request.limit));
            for (const Form form : {Form::kPortable, Form::kWide})
                if (components::hasForm(form)) {
                    ASSERT_TRUE(Outcome<std::uint16_t>(request, field, form) ==
                                Outcome<std::uint16_t>(request, field, Form::kPlain));
                    ASSERT_TRUE(Outcome<std::uint32_t>(request, field, form) ==
                                Outcome<std::uint32_t>(request, field, Form::kPlain));
                }
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
