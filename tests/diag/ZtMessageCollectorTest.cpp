// Counted messages and their report.
#include <gtest/gtest.h>
#include <ztlib/ZtMessageCollector.h>

#include <utility>

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

}  // namespace
