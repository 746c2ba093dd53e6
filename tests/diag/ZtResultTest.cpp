// Results: the table of codes, sharing against a model, and notification.
#include <gtest/gtest.h>
#include <ztlib/ZtResult.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "FailEveryAllocation.h"
#include "Random.h"

namespace {

// Static objects of a program may use the constants.
const ZtResult copiedAtStart = ZtENOSPC;
const std::string textAtStart = ZtResult().data();

TEST(ZtResult, ConstantsHaveTheirCodesAndMessages) {
    const std::pair<int, const ZtResult*> rows[] = {
        {0, &ZtOK},         {1, &ZtINVALIDARGUMENT}, {2, &ZtINTERNALERROR},
        {3, &ZtNODATA},     {4, &ZtNOTSUPPORTED},    {5, &ZtREADONLY},
        {6, &ZtOUTOFRANGE}, {7, &ZtNOTIMPLEMENTED},  {8, &ZtOUTOFMEMORY},
        {9, &ZtFALSE},      {11, &ZtINTERRUPTED},    {4097, &ZtEPERM},
        {4098, &ZtENOENT},  {4099, &ZtESRCH},        {4100, &ZtEINTR},
        {4101, &ZtEIO},     {4102, &ZtENXIO},        {4103, &ZtE2BIG},
        {4104, &ZtENOEXEC}, {4105, &ZtEBADF},        {4106, &ZtECHILD},
        {4107, &ZtEAGAIN},  {4108, &ZtENOMEM},       {4109, &ZtEACCES},
        {4110, &ZtEFAULT},  {4112, &ZtEBUSY},        {4113, &ZtEEXIST},
        {4114, &ZtEXDEV},   {4115, &ZtENODEV},       {4116, &ZtENOTDIR},
        {4117, &ZtEISDIR},  {4118, &ZtEINVAL},       {4119, &ZtENFILE},
        {4120, &ZtEMFILE},  {4121, &ZtENOTTY},       {4123, &ZtEFBIG},
        {4124, &ZtENOSPC},  {4125, &ZtESPIPE},       {4126, &ZtEROFS},
        {4127, &ZtEMLINK},  {4128, &ZtEPIPE},        {4129, &ZtEDOM},
        {4130, &ZtERANGE},  {4132, &ZtEDEADLK},      {4134, &ZtENAMETOOLONG},
        {4135, &ZtENOLCK},  {4136, &ZtENOSYS},       {4137, &ZtENOTEMPTY},
        {4138, &ZtEILSEQ},
    };
    for (const auto& [code, constant] : rows) {
        EXPECT_EQ(code, constant->code());
        EXPECT_STREQ(ZtResult(code, "", nullptr, false).data(), constant->data()) << code;
        EXPECT_STREQ("", constant->text()) << code;
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
        {ZtResult(3, "f.cpp", nullptr, "what"), 0, 3, "f.cpp", "", "what"},
        {ZtResult(6, 3, "f.cpp", "why", ""), 6, 3, "f.cpp", "why", "out of range"},
        {ZtResult(6, 3, nullptr, nullptr, nullptr), 6, 3, "", "", "out of range"},
        {ZtResult(10, "", "", false), 10, 0, "", "", ""},
        // Messages go by the low 16 bits of the code, success by all of it.
        {ZtResult(65536, "", "", false), 65536, 0, "", "", "operation successful"},
        {ZtResult(-65527, "", "", false), -65527, 0, "", "", "false"},
        {ZtResult(-1, "", "", false), -1, 0, "", "", ""},
        {ZtENOENT.duplicate("x"), 4098, 0, "", "", "x"},
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
        EXPECT_EQ(row.code != 0, row.result.failed());
        EXPECT_EQ(row.code == 0, static_cast<bool>(row.result));
    }
    EXPECT_STREQ(ZtENOENT.data(), ZtResult(0x11002, "", "", false).data());
    EXPECT_TRUE(ZtResult(4, "a", "b", false) == ZtNOTSUPPORTED);
    EXPECT_TRUE(ZtFALSE != ZtOK);
    static_assert(!std::is_polymorphic_v<ZtResult>);
}

// Copies, assignments and duplicates, in any order, against values; no record is lost or freed
// twice.
TEST(ZtResult, SharesItsRecordAsAValue) {
    struct Entry {
        ZtResult result;
        int code;
        std::string data;
    };
    const AllocationWatch watch;
    {
        Random random(11);
        std::vector<Entry> all{{ZtResult(), 0, "operation successful"}};
        for (int step = 0; step < 20000; ++step) {
            Entry& one = random.of(all);
            const int code = 20 + random.below(50);
            const std::string data = "m" + std::to_string(step);
            const std::function<void()> operations[] = {
                [&] {
                    all.push_back({ZtResult(code, "", data.c_str(), false), code, data});
                },
                [&] {
                    all.push_back({ZtREADONLY, 5, "read only"});
                },
                [&] { all.push_back(Entry(one)); },
                [&] { one = random.of(all); },
                [&] {
                    one = {one.result.duplicate("d"), one.code, "d"};
                },
                [&] { all.resize(std::min<std::size_t>(all.size(), 1 + random.bits() % 20)); }};
            random.of(operations)();
            const Entry& looked = random.of(all);
            ASSERT_EQ(looked.code, looked.result.code());
            ASSERT_EQ(looked.data, looked.result.data());
        }
    }
    EXPECT_EQ(0, watch.liveBlocks());
}

TEST(ZtResult, SurvivesFailedAllocations) {
    failEveryAllocation([] { return ZtResult(7, "text", "data", false); },
                        [](ZtResult& result) {
                            const ZtResult other(3, 12, "file", "text", nullptr);
                            result = other.duplicate("another message that takes memory");
                        },
                        [](const ZtResult& result) {
                            EXPECT_EQ(7, result.code());
                            EXPECT_STREQ("data", result.data());
                        });
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

class Notification : public testing::Test {
protected:
    struct Listener {
        std::string& calls;
        const char* name;
        bool handles = false;
    };

    static bool listen(const ZtResult& result, void* user) {
        const Listener& listener = *static_cast<Listener*>(user);
        listener.calls += listener.name + std::to_string(result.code()) + " ";
        return listener.handles;
    }
    // Others of the same kind, so that they can be told apart.
    static bool removesAll(const ZtResult& result, void* user) {
        for (int i = 0; i < 4; ++i)
            ZtResult::notificationCallbackRemove(listen);
        return listen(result, user);
    }
    static bool replacesAll(const ZtResult& result, void* user) {
        removesAll(result, user);
        ZtResult::notificationCallbackRemove(replacesAll);
        ZtResult::notificationCallbackAdd(listen, user);
        return false;
    }
    static bool addsOne(const ZtResult& result, void* user) {
        ZtResult::notificationCallbackAdd(listen, user);
        return listen(result, user);
    }

    ~Notification() override {
        for (int i = 0; i < 20; ++i)
            for (auto* callback : {listen, removesAll, addsOne})
                ZtResult::notificationCallbackRemove(callback);
    }

    std::string notified(const ZtResult& result) {
        calls_.clear();
        EXPECT_EQ(&result, &result.notify());
        return calls_;
    }

    std::string calls_;
    Listener a_{calls_, "a"}, b_{calls_, "b"}, c_{calls_, "c"};
};

TEST_F(Notification, GoesFromTheLastToTheFirstUntilHandled) {
    EXPECT_EQ("", notified(ZtFALSE));
    ZtResult::notificationCallbackAdd(nullptr, nullptr);
    for (Listener* listener : {&a_, &b_, &c_})
        ZtResult::notificationCallbackAdd(listen, listener);
    EXPECT_EQ("c9 b9 a9 ", notified(ZtFALSE));
    EXPECT_EQ("", notified(ZtOK));
    b_.handles = true;
    EXPECT_EQ("c9 b9 ", notified(ZtFALSE));
    b_.handles = false;
    ZtResult::notificationCallbackAdd(addsOne, &a_);
    ZtResult::notificationCallbackRemove(listen);  // c
    ZtResult::notificationCallbackRemove(removesAll);
    EXPECT_EQ("a9 b9 a9 ", notified(ZtFALSE));
    EXPECT_EQ("a9 a9 b9 a9 ", notified(ZtFALSE));
}

TEST_F(Notification, CallbacksMayRemoveOthers) {
    ZtResult::notificationCallbackAdd(removesAll, &c_);
    for (Listener* listener : {&a_, &b_})
        ZtResult::notificationCallbackAdd(listen, listener);
    ZtResult::notificationCallbackAdd(removesAll, &c_);
    EXPECT_EQ("c9 c9 ", notified(ZtFALSE));
    for (int i = 0; i < 2; ++i)
        ZtResult::notificationCallbackRemove(removesAll);
    ZtResult::notificationCallbackAdd(listen, &a_);
    ZtResult::notificationCallbackAdd(replacesAll, &b_);
    EXPECT_EQ("b9 ", notified(ZtFALSE)) << "what came meanwhile waits";
    EXPECT_EQ("b9 ", notified(ZtFALSE));
}

}  // namespace
