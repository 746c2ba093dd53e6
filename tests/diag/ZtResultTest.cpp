// Results: the table of codes, sharing against a model, and notification.
#include <gtest/gtest.h>
#include <ztlib/ZtResult.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "Random.h"
#include "core/AllocationWatch.h"

namespace {

// Static objects of a program may use the constants.
const ZtResult copiedAtStart = ZtENOSPC;
const std::string textAtStart = ZtResult().data();

TEST(ZtResult, ConstantsHaveTheirCodesAndMessages) {
    const int codes[] = {0,    1,    2,    3,    4,    5,    6,    7,    8,    9,
                         11,   4097, 4098, 4099, 4100, 4101, 4102, 4103, 4104, 4105,
                         4106, 4107, 4108, 4109, 4110, 4112, 4113, 4114, 4115, 4116,
                         4117, 4118, 4119, 4120, 4121, 4123, 4124, 4125, 4126, 4127,
                         4128, 4129, 4130, 4132, 4134, 4135, 4136, 4137, 4138};
    const ZtResult* const constants[] = {&ZtOK,         &ZtINVALIDARGUMENT, &ZtINTERNALERROR,
                                         &ZtNODATA,     &ZtNOTSUPPORTED,    &ZtREADONLY,
                                         &ZtOUTOFRANGE, &ZtNOTIMPLEMENTED,  &ZtOUTOFMEMORY,
                                         &ZtFALSE,      &ZtINTERRUPTED,     &ZtEPERM,
                                         &ZtENOENT,     &ZtESRCH,           &ZtEINTR,
                                         &ZtEIO,        &ZtENXIO,           &ZtE2BIG,
                                         &ZtENOEXEC,    &ZtEBADF,           &ZtECHILD,
                                         &ZtEAGAIN,     &ZtENOMEM,          &ZtEACCES,
                                         &ZtEFAULT,     &ZtEBUSY,           &ZtEEXIST,
                                         &ZtEXDEV,      &ZtENODEV,          &ZtENOTDIR,
                                         &ZtEISDIR,     &ZtEINVAL,          &ZtENFILE,
                                         &ZtEMFILE,     &ZtENOTTY,          &ZtEFBIG,
                                         &ZtENOSPC,     &ZtESPIPE,          &ZtEROFS,
                                         &ZtEMLINK,     &ZtEPIPE,           &ZtEDOM,
                                         &ZtERANGE,     &ZtEDEADLK,         &ZtENAMETOOLONG,
                                         &ZtENOLCK,     &ZtENOSYS,          &ZtENOTEMPTY,
                                         &ZtEILSEQ};
    static_assert(std::size(codes) == std::size(constants));
    for (std::size_t i = 0; i < std::size(codes); ++i) {
        EXPECT_EQ(codes[i], constants[i]->code());
        EXPECT_STREQ(ZtResult(codes[i], "", nullptr, false).data(), constants[i]->data());
    }
    EXPECT_EQ(4124, copiedAtStart.code());
    EXPECT_EQ("operation successful", textAtStart);

    // All messages, to the last character: FNV-1a over "code:message\n" in the order of the codes.
    std::uint64_t digest = 0xcbf29ce484222325;
    int count = 0;
    for (int code = 0; code < 65536; ++code) {
        const ZtResult result(code, nullptr, nullptr, false);
        if (!result.hasData())
            continue;
        ++count;
        for (const char c : std::to_string(code) + ":" + result.data() + "\n")
            digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
    EXPECT_EQ(34, count);
    EXPECT_EQ(0xdfc30ea37d2b99d7u, digest);
}

TEST(ZtResult, TheConstructorsGiveWhatIsMissing) {
    const struct {
        ZtResult result;
        int code, line;
        const char *file, *text, *data;
    } rows[] = {
        {ZtResult(), 0, 0, "", "", "operation successful"},
        {ZtResult(9, "", "", false), 9, 0, "", "", "false"},
        {ZtResult(7, "why", "what", false), 7, 0, "", "why", "what"},
        {ZtResult(3, "f.cpp", "why", nullptr), 0, 3, "f.cpp", "why", "operation successful"},
        {ZtResult(6, 3, "f.cpp", "why", ""), 6, 3, "f.cpp", "why", "out of range"},
        {ZtResult(10, "", "", false), 10, 0, "", "", ""},
        // Messages go by the low 16 bits of the code, success by all of it.
        {ZtResult(65536, "", "", false), 65536, 0, "", "", "operation successful"},
        {ZtResult(-65527, "", "", false), -65527, 0, "", "", "false"},
        {ZtENOENT.duplicate(nullptr), 4098, 0, "", "", ""},
        {ZtResult(6, 3, "f.cpp", "why", "").duplicate("n"), 6, 3, "f.cpp", "why", "n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(row.code, row.result.code());
        EXPECT_EQ(row.line, row.result.line());
        EXPECT_STREQ(row.file, row.result.file());
        EXPECT_STREQ(row.text, row.result.text());
        EXPECT_STREQ(row.data, row.result.data());
        EXPECT_EQ(*row.data != '\0', row.result.hasData());
        EXPECT_EQ(row.code == 0, row.result.ok());
        EXPECT_EQ(row.code == 0, static_cast<bool>(row.result));
    }
    EXPECT_TRUE(ZtResult(4, "a", "b", false) == ZtNOTSUPPORTED);
    EXPECT_TRUE(ZtFALSE != ZtOK);
}

// Copies, assignments and duplicates against values; no record is lost or freed twice.
TEST(ZtResult, SharesItsRecordAsAValue) {
    const AllocationWatch watch;
    {
        Random random(11);
        ZtResult results[8];
        std::string data[8];
        std::fill_n(data, 8, "operation successful");
        for (int step = 0; step < 20000; ++step) {
            const int a = random.below(8), b = random.below(8), kind = random.below(4);
            if (kind == 0)
                results[a] = ZtResult(7, "", std::to_string(step).c_str(), false);
            else if (kind == 1)
                results[a] = results[b].duplicate("d");
            else if (kind == 2)
                results[a] = results[b];
            else
                results[a] = ZtResult(results[b]);
            data[a] = kind == 0 ? std::to_string(step) : kind == 1 ? "d" : data[b];
            ASSERT_EQ(data[b], results[b].data());
        }
    }
    EXPECT_EQ(0, watch.liveBlocks());
}

TEST(ZtResult, CheckThrowsAFailure) {
    EXPECT_EQ(&ZtOK, &ZtOK.check());
    const ZtResult failed(7, "text", "data", false);
    try {
        failed.check();
        FAIL() << "came back";
    } catch (const ZtResult& thrown) {
        EXPECT_NE(&failed, &thrown);
        EXPECT_EQ(failed.data(), thrown.data()) << "the record is shared";
    }
}

std::string calls;

// Notes the name that the user pointer is; "H" handles the result.
bool listen(const ZtResult& result, void* user) {
    const std::string name = static_cast<const char*>(user);
    calls += name + std::to_string(result.code()) + " ";
    return name == "H";
}

bool removesAll(const ZtResult& result, void* user) {
    for (int i = 0; i < 4; ++i)
        ZtResult::notificationCallbackRemove(listen);
    return listen(result, user);
}

bool replacesItself(const ZtResult& result, void* user) {
    removesAll(result, user);
    ZtResult::notificationCallbackRemove(replacesItself);
    ZtResult::notificationCallbackAdd(listen, user);
    return false;
}

std::string notified(const ZtResult& result) {
    calls.clear();
    EXPECT_EQ(&result, &result.notify());
    return calls;
}

TEST(ZtResult, NotifiesFromTheLastToTheFirstWhichMayChangeTheList) {
    char a[] = "a", b[] = "b", handler[] = "H", remover[] = "r", replacer[] = "x";
    ZtResult::notificationCallbackAdd(nullptr, nullptr);
    for (char* name : {a, handler, b})
        ZtResult::notificationCallbackAdd(listen, name);
    EXPECT_EQ("", notified(ZtOK));
    EXPECT_EQ("b9 H9 ", notified(ZtFALSE));
    for (int i = 0; i < 2; ++i)
        ZtResult::notificationCallbackRemove(listen);
    EXPECT_EQ("a9 ", notified(ZtFALSE)) << "the last ones went";

    ZtResult::notificationCallbackAdd(removesAll, remover);
    ZtResult::notificationCallbackAdd(listen, b);
    EXPECT_EQ("b9 r9 ", notified(ZtFALSE));
    EXPECT_EQ("r9 ", notified(ZtFALSE));
    ZtResult::notificationCallbackAdd(listen, a);
    ZtResult::notificationCallbackAdd(replacesItself, replacer);
    EXPECT_EQ("x9 r9 ", notified(ZtFALSE)) << "what came meanwhile waits";
    ZtResult::notificationCallbackRemove(removesAll);
    EXPECT_EQ("", notified(ZtFALSE));
}

}  // namespace
