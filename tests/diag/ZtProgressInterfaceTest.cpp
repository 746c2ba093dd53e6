// Progress: stories of nested stages, and random sequences against a model of the ranges.
#include <gtest/gtest.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtString.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "FailEveryAllocation.h"

namespace {

// Notes what a display would show.
class Display : public ZtProgressInterface {
public:
    using ZtProgressInterface::nextRange;
    using ZtProgressInterface::parentRange;

    std::string shown() {
        std::string text;
        text.swap(shown_);
        return text;
    }
    float value() const { return value_; }

private:
    void add(const std::string& entry) { shown_.append(shown_.empty() ? "" : " ").append(entry); }

    void beforeStartWorking() override { add("before"); }
    void afterStopWorking() override { add("after"); }
    void setProgressValueGlobal(float value) override {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.4g", static_cast<double>(value));
        add(digits);
        value_ = value;
    }
    void setProgressText(const char* text) override {
        add(std::string("'").append(text).append("'"));
    }

    std::string shown_;
    float value_ = -1;
};

ZtDArray<float> weightsOf(std::initializer_list<float> values) {
    ZtDArray<float> weights;
    for (float value : values)
        weights.push(value);
    return weights;
}

TEST(Progress, WithoutStagesItPassesValuesOnAndKeepsTheFlags) {
    Display display;
    EXPECT_FALSE(display.isBusy());
    display.cancel();
    EXPECT_TRUE(display.wasInterrupted());
    display.startWorking("go");
    EXPECT_EQ("0 'go' before", display.shown());
    EXPECT_TRUE(display.isBusy() && display.canCancel());
    EXPECT_FALSE(display.wasInterrupted()) << "starting forgets an earlier cancel";
    display.setProgressValue(0.5f);
    display.setProgressValue(-1.5f);
    display.setProgressTextEx("%1 of %2, %1 %10", 3, 10);
    display.setProgressTextEx(nullptr, -1, 2);
    display.setProgressInfo("%s=%d %%1", "n", 7);
    EXPECT_EQ("0.5 -1.5 '3 of 10, 3 30' '' 'n=7 %1'", display.shown());
    display.stopWorking();
    display.undivide();
    EXPECT_EQ("after", display.shown());
    EXPECT_FALSE(display.isBusy());
    display.startWorkingNoStop(nullptr);
    EXPECT_EQ("0 '' before", display.shown());
    EXPECT_FALSE(display.canCancel());
    EXPECT_EQ(0, display.wasSuspended());
    EXPECT_EQ(0, display.getProgressValue());
}

TEST(Progress, StagesReportTheirShareAndTheLastStaysCurrent) {
    Display display;
    display.startWorking("");
    display.subdivide(4);
    display.shown();
    display.setProgressValue(0.5f);
    display.stopWorking();
    display.setProgressValue(0.5f);
    EXPECT_EQ("0.125 0.25 0.375", display.shown());
    display.startWorking("second");
    EXPECT_EQ("0.25 'second' before", display.shown());
    for (int stage = 1; stage < 5; ++stage)
        display.stopWorking();
    display.setProgressValue(0.5f);
    EXPECT_EQ("0.5 0.75 1 1 0.875", display.shown());
    EXPECT_TRUE(display.isBusy());
    display.undivide();
    EXPECT_EQ("after", display.shown());
    EXPECT_FALSE(display.isBusy());
    display.setProgressValue(0.5f);
    EXPECT_EQ("0.5", display.shown());
}

TEST(Progress, WeightsCutTheRangeAndUselessOnesAreReplaced) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Row {
        const char* name;
        ZtDArray<float> weights;
        const char* ends;  // of the stages, from 0.5 to 1
        bool isReplaced;
    };
    for (Row& row :
         std::vector<Row>{{"one interval", weightsOf({1, 3}), "1", false},
                          {"three", weightsOf({2, 3, 5, 6}), "0.625 0.875 1", false},
                          {"not rising inside", weightsOf({0, 3, 1, 4}), "0.875 0.625 1", false},
                          {"no span", weightsOf({2, 2}), "1", true},
                          {"falling", weightsOf({2, 3, 1}), "1", true},
                          {"not a number", weightsOf({0, 1, nan}), "1", true},
                          {"one", weightsOf({5}), "1", true},
                          {"none", weightsOf({}), "1", true}}) {
        SCOPED_TRACE(row.name);
        Display display;
        display.subdivide(2);
        display.nextRange();
        const int stages = row.isReplaced ? 1 : row.weights.size() - 1;
        display.subdivide(row.weights);
        for (int stage = 0; stage < stages; ++stage)
            display.stopWorking();
        EXPECT_EQ(row.ends, display.shown());
        if (row.isReplaced) {
            EXPECT_TRUE(row.weights == weightsOf({0, 1}));
        }
    }
    for (int n : {0, 1, -3}) {
        Display display;
        display.subdivide(n);
        display.setProgressValue(0.5f);
        display.stopWorking();
        EXPECT_EQ("0.5 1", display.shown());
    }
}

TEST(Progress, CopiesShareTheRangesAndOutliveEachOther) {
    auto display = std::make_unique<Display>();
    display->startWorking("");
    display->subdivide(2);
    display->subdivide(2);
    Display copy(*display);
    copy.shown();
    copy.stopWorking();
    copy.setProgressValue(0);
    EXPECT_EQ("0.25 0.25", copy.shown());
    display->undivide();  // drops the stage in which the copy stands
    copy.setProgressValue(1);
    copy.stopWorking();
    EXPECT_EQ("0.5 0.5", copy.shown());
    Display assigned;
    assigned.subdivide(3);
    assigned = copy;
    assigned = *&assigned;
    display.reset();
    copy.undivide();
    EXPECT_EQ("after", copy.shown());
    copy.parentRange();
    copy.setProgressValue(1);
    EXPECT_EQ("1", copy.shown());
    EXPECT_TRUE(assigned.isBusy());
    assigned.parentRange();
    assigned.setProgressValue(0.75f);
    EXPECT_EQ("0.75", assigned.shown());
}

TEST(Progress, SurvivesFailedAllocations) {
    failEveryAllocation(
        [] {
            auto display = std::make_unique<Display>();
            display->subdivide(2);
            display->subdivide(2);
            return display;
        },
        [](auto& display) { display->subdivide(5); },
        [](auto& display) {
            display->setProgressValue(1);
            display->stopWorking();
            display->setProgressValue(1);
            EXPECT_EQ("0.25 0.25 0.5", display->shown());
        });
}

TEST(Progress, NestsAsDeepAsItIsAsked) {
    Display display;
    for (int depth = 0; depth < 200000; ++depth)
        display.subdivide(1);
    display.setProgressValue(0.5f);
    EXPECT_EQ("0.5", display.shown());
}

// The stages entered so far, outermost first. Other ranges of the tree cannot be reached again.
class Model {
public:
    void subdivide(const std::vector<double>& weights) {
        const auto [first, last] = current();
        Level level;
        const double span = weights.back() - weights.front();
        for (std::size_t k = 1; k < weights.size(); ++k)
            level.stages.push_back(
                {first + (weights[k - 1] - weights.front()) / span * (last - first),
                 first + (weights[k] - weights.front()) / span * (last - first)});
        levels_.push_back(level);
    }
    void next() {
        Level& level = levels_.back();
        if (level.at + 1 < level.stages.size())
            ++level.at;
    }
    bool up() {
        if (levels_.size() == 1)
            return false;
        levels_.pop_back();
        return true;
    }
    bool isWhole() const { return levels_.size() == 1; }
    std::pair<double, double> current() const { return levels_.back().stages[levels_.back().at]; }

    bool isBusy = false;

private:
    struct Level {
        std::vector<std::pair<double, double>> stages;
        std::size_t at = 0;
    };
    std::vector<Level> levels_{{{{0.0, 1.0}}}};
};

TEST(Progress, RandomSequencesAgreeWithTheModel) {
    std::mt19937 random(99);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    for (int round = 0; round < 200; ++round) {
        Display display;
        Model model;
        for (int step = 0; step < 60; ++step) {
            SCOPED_TRACE("round " + std::to_string(round) + ", step " + std::to_string(step));
            const int operation = below(8);
            const double fraction = below(101) / 100.0;
            bool ends = false;
            if (operation == 0 || operation == 1) {
                std::vector<double> weights{fraction};
                for (int more = 1 + below(4); more > 0; --more)
                    weights.push_back(weights.back() + 0.25 + below(3));
                ZtDArray<float> floats;
                for (double& weight : weights)
                    floats.push(static_cast<float>(weight));
                if (operation == 0) {
                    const int n = static_cast<int>(weights.size()) - 1;
                    display.subdivide(n);
                    for (int k = 0; k <= n; ++k)
                        weights[static_cast<std::size_t>(k)] = k;
                } else {
                    display.subdivide(floats);
                }
                model.subdivide(weights);
            } else if (operation == 2) {
                display.stopWorking();
                if (model.isWhole()) {
                    model.isBusy = false;
                    ends = true;
                } else {
                    EXPECT_NEAR(model.current().second, static_cast<double>(display.value()), 1e-5);
                    model.next();
                }
            } else if (operation == 3) {
                display.undivide();
                if (model.up()) {
                    model.next();
                    ends = model.isWhole();
                    model.isBusy = model.isBusy && !ends;
                }
            } else if (operation == 4) {
                display.startWorking("");
                EXPECT_NEAR(model.current().first, static_cast<double>(display.value()), 1e-5);
                model.isBusy = true;
            } else if (operation == 5) {
                display.nextRange();
                model.next();
            } else if (operation == 6 && below(3) == 0) {
                display.parentRange();
                model.up();
            }
            EXPECT_EQ(ends, display.shown().find("after") != std::string::npos);
            const auto [first, last] = model.current();
            display.setProgressValue(static_cast<float>(fraction));
            ASSERT_NEAR(first + (last - first) * fraction, static_cast<double>(display.value()),
                        1e-5);
            ASSERT_EQ(model.isBusy, display.isBusy());
            display.shown();
        }
    }
}

}  // namespace
