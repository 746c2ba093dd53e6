// The contract hooks.
#include <gtest/gtest.h>
#include <ztlib/ZtContract.h>

#include "ContractCapture.h"

namespace {

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
