// Counted messages and their report.
#include <gtest/gtest.h>
#include <ztlib/ZtMessageCollector.h>

#include <utility>

#include "FailEveryAllocation.h"

namespace {

ZtMessageCollector threeSlots() {
    ZtMessageCollector collector;
    EXPECT_EQ(0, collector.addMessageSlot("none"));
    EXPECT_EQ(1, collector.addMessageSlot("100%s"));  // no format
    EXPECT_EQ(2, collector.addMessageSlot("once"));
    for (int slot : {1, 2, 1, 3, -1, 1})
        collector.countMessage(slot);
    return collector;
}

TEST(ZtMessageCollector, ReportsWhatCameUp) {
    ZtMessageCollector collector = threeSlots();
    ZtMessageCollector copy(collector);
    ZtString report("Report:\n");
    EXPECT_TRUE(collector.generateReport(report, false));
    EXPECT_STREQ("Report:\n100%s (3 times)\nonce (1 times)\n", report.getString());
    EXPECT_TRUE(collector.generateReport(report, true));
    EXPECT_FALSE(collector.generateReport(report = "x", true));
    EXPECT_STREQ("x", report.getString());

    collector = copy;
    copy.resetSlotCounter(1);
    copy.resetSlotCounter(-2);
    report.clear();
    EXPECT_TRUE(copy.generateReport(report, false));
    copy.resetSlotCounter();
    EXPECT_FALSE(copy.generateReport(report, false));
    EXPECT_TRUE(collector.generateReport(report, false));
    EXPECT_STREQ("once (1 times)\n100%s (3 times)\nonce (1 times)\n", report.getString());
}

TEST(ZtMessageCollector, SurvivesFailedAllocations) {
    ZtMessageCollector longer = threeSlots();
    longer.addMessageSlot("one more");
    failEveryAllocation([] { return std::pair(threeSlots(), ZtString()); },
                        [&](auto& both) {
                            both.first.generateReport(both.second, true);
                            both.first = longer;
                        },
                        [](auto& both) {
                            // Either step fails as a whole.
                            const bool isReported = !both.second.isEmptyString();
                            EXPECT_NE(isReported, both.first.generateReport(both.second, false));
                            EXPECT_STREQ("100%s (3 times)\nonce (1 times)\n",
                                         both.second.getString());
                            EXPECT_EQ(3, both.first.addMessageSlot("next"));
                        });
}

}  // namespace
