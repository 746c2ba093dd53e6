// The contract hooks and macros.
#include <gtest/gtest.h>
#include <ztlib/ZtContract.h>

#include "ContractCapture.h"

namespace {

int half(int even) {
    ZT_REQUIRE(even % 2 == 0);
    return even / 2;
}

TEST(Contract, BrokenOnesReachTheCallbackInACheckedBuildOnly) {
    ContractCapture capture;
    EXPECT_EQ(2, half(4));
    if (kChecked)
        EXPECT_THROW(half(3), BrokenContract);
    else
        EXPECT_EQ(1, half(3));
}

TEST(Contract, TheSwitchSilencesReports) {
    ContractCapture capture;
    zt_DbC_handleEvents = false;
    EXPECT_NO_THROW(zt_DbC_report(DbCInvariant, "c", "f", 1, "file", "m"));
    zt_DbC_handleEvents = true;
    EXPECT_THROW(zt_DbC_report(DbCInvariant, "c", "f", 1, "file", "m"), BrokenContract);
}

TEST(ContractDeathTest, WithoutACallbackTheReportNamesThePlaceAndAborts) {
    zt_DbC_callbackSet(nullptr);
    EXPECT_DEATH(zt_DbC_report(DbCPrecondition, "n > 0", "shrink", 12, "a.cpp", nullptr),
                 "shrink: broken precondition: n > 0 at a.cpp:12");
}

}  // namespace
