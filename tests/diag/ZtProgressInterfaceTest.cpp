// Progress: stories of nested stages, and random sequences against a model of the ranges.
#include <gtest/gtest.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "Random.h"

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
    weights.append(static_cast<int>(values.size()), values.begin());
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

    struct : ZtProgressInterface {
    } silent;  // shows nothing
    silent.startWorking("go");
    silent.stopWorking();
}

TEST(Progress, UselessStagesAreReplaced) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (ZtDArray<float> weights : {weightsOf({2, 3, 1}), weightsOf({0, 1, nan}), weightsOf({})}) {
        Display display;
        display.subdivide(weights);
        EXPECT_TRUE(weights == weightsOf({0, 1}));
        display.subdivide(-3);
        display.stopWorking();
        display.stopWorking();
        EXPECT_EQ("1 1", display.shown());
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
    display.reset();
    copy.undivide();
    EXPECT_EQ("after", copy.shown());
    copy.setProgressValue(1);
    EXPECT_EQ("1", copy.shown());
    EXPECT_TRUE(assigned.isBusy());
}

TEST(Progress, NestsAsDeepAsItIsAsked) {
    Display display;
    for (int depth = 0; depth < 200000; ++depth)
        display.subdivide(1);
    display.setProgressValue(0.5f);
    EXPECT_EQ("0.5", display.shown());
}

bool isNear(double expected, float actual) {
    return std::abs(expected - static_cast<double>(actual)) < 1e-5;
}

// The stages entered so far, outermost first. Other ranges of the tree cannot be reached again.
struct Model {
    struct Range {
        double first, last;
        double at(double fraction) const { return first + (last - first) * fraction; }
    };

    void subdivide(const std::vector<double>& weights) {
        const double start = weights.front(), span = weights.back() - start;
        std::vector<Range> stages;
        for (std::size_t k = weights.size() - 1; k > 0; --k)
            stages.push_back({current().at((weights[k - 1] - start) / span),
                              current().at((weights[k] - start) / span)});
        levels.push_back(stages);
    }
    void next() {
        if (levels.back().size() > 1)
            levels.back().pop_back();
    }
    bool up() {
        if (isWhole())
            return false;
        levels.pop_back();
        return true;
    }
    bool isWhole() const { return levels.size() == 1; }
    Range current() const { return levels.back().back(); }

    std::vector<std::vector<Range>> levels{{{0, 1}}};  // of each the stages to come, last first
};

TEST(Progress, RandomSequencesAgreeWithTheModel) {
    Random random(99);
    std::unique_ptr<Display> display;
    Model model;
    bool isBusy = false;
    for (int step = 0; step < 12000; ++step) {
        SCOPED_TRACE(step);
        if (step % 60 == 0)
            display = std::make_unique<Display>(), model = Model(), isBusy = false;
        const double fraction = random.below(101) / 100.0;
        bool ends = false;
        const std::function<void()> operations[] = {
            [&] {
                const bool areEqual = random.below(2) == 0;
                std::vector<double> weights{fraction};
                ZtDArray<float> floats;
                for (int more = random.below(4); more >= 0; --more)
                    weights.push_back(weights.back() + (areEqual ? 1 : 0.25 + random.below(3)));
                for (const double weight : weights)
                    floats.push(static_cast<float>(weight));
                areEqual ? display->subdivide(floats.size() - 1) : display->subdivide(floats);
                model.subdivide(weights);
            },
            [&] {
                display->stopWorking();
                ends = model.isWhole();
                isBusy = isBusy && !ends;
                EXPECT_TRUE(ends || isNear(model.current().last, display->value()));
                model.next();
            },
            [&] {
                display->undivide();
                if (model.up()) {
                    model.next();
                    ends = model.isWhole();
                    isBusy = isBusy && !ends;
                }
            },
            [&] {
                display->startWorking("");
                EXPECT_TRUE(isNear(model.current().first, display->value()));
                isBusy = true;
            },
            [&] { display->nextRange(), model.next(); },
            [&] {
                if (random.below(3) == 0)
                    display->parentRange(), model.up();
            }};
        random.of(operations)();
        EXPECT_EQ(ends, display->shown().find("after") != std::string::npos);
        display->setProgressValue(static_cast<float>(fraction));
        ASSERT_TRUE(isNear(model.current().at(fraction), display->value()));
        ASSERT_EQ(isBusy, display->isBusy());
        display->shown();
    }
}

}  // namespace
