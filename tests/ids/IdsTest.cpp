// Identifiers: numbers of their own kinds, and the unique ones of image files.
#include <gtest/gtest.h>
#include <ztlib/ZtBuildTag.h>
#include <ztlib/ZtCreateUIDs.h>
#include <ztlib/ZtFrameID.h>
#include <ztlib/ZtRemotificationID.h>
#include <ztlib/ZtTransferID.h>
#include <ztlib/ZtUniqueID.h>

#include <climits>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "EnvironmentVariable.h"
#include "ids/UidParts.h"

namespace {

namespace fs = std::filesystem;

using Uids = ZtCreateUIDs;

enum Part { kType, kNode, kTime, kCounter, kProcess, kParts };

std::string make(Uids& uids, int type = 0) {
    ZtString uid("old");
    EXPECT_TRUE(uids.createUID(static_cast<Uids::UIDtype>(type), uid)) << type;
    return uid.getString();
}

// A part of an identifier with the default root and version.
std::string part(Part which, const std::string& uid) {
    char parts[kParts][20] = {};
    int end = 0;
    std::sscanf(uid.c_str(), "1.3.6.1.4.1.32473.2.51.%1[2-6].%15[0-9].%14[0-9]%3[0-9].%5[0-9]%n",
                parts[0], parts[1], parts[2], parts[3], parts[4], &end);
    EXPECT_TRUE(uid.size() == static_cast<std::size_t>(end) && uid.size() <= 64) << uid;
    EXPECT_TRUE(*parts[kNode] != '0' && *parts[kTime] != '0' && *parts[kProcess] != '0') << uid;
    return parts[which];
}

TEST(Ids, AreSignedNumbersWithAnEmptyOne) {
    const ZtFrameID empty, low(-2);
    EXPECT_TRUE(empty.isEmpty() && empty.isValid() && !low.isValid() && low < empty);
    EXPECT_TRUE(ZtUniqueID().value() == 0 && ZtTransferID().isEmpty());
    // The text, its 64 bits, its 32 bits.
    const std::tuple<const char*, long long, int> rows[] = {
        {nullptr, 0, 0}, {" -12 fr", -12, -12}, {"4294967303", 4294967303, 7}};
    for (const auto& [text, wide, narrow] : rows) {
        EXPECT_EQ(ZtFrameID::fromAscii(text).value(), wide);
        EXPECT_EQ(ZtUniqueID::fromAscii(text).value(), wide);
        EXPECT_EQ(ZtRemotificationID::fromAscii(text).value(), narrow);
    }
    // Which of the frames 2 to 6 lie between two bounds.
    const std::tuple<int, int, std::string> ranges[] = {
        {-1, -1, "23456"}, {-1, 5, "2345"}, {5, -1, "56"}, {3, 5, "345"}, {5, 3, ""}};
    for (const auto& [from, to, expected] : ranges) {
        std::string inside;
        for (int i = 2; i <= 6; ++i)
            if (ZtFrameID(i).isInRange(ZtFrameID(from), ZtFrameID(to)))
                inside += std::to_string(i);
        EXPECT_EQ(inside, expected);
    }
}

TEST(Ids, RemoteObjectsHaveReservedNumbersInARing) {
    ZtRemotificationID id(INT_MAX);
    EXPECT_EQ(id.next(true).value(), INT_MIN);
    EXPECT_EQ(id.next(false).toZtString(), "2147483647");
    for (const int n : {-1, 0, 1, 7, 8, 20, 21}) {
        id.valueSet(n);
        EXPECT_TRUE(id.isReserved() == (n >= 1 && n <= 20) &&
                    id.isReservedSingleton() == (n >= 1 && n <= 7) &&
                    (id.singletonClassName() != nullptr) == id.isReservedSingleton());
    }
}

TEST(Uids, CountFrom1To999OverAllObjectsAndTypes) {
    Uids first, second;
    const std::string uid = make(first);
    int counter = std::stoi(part(kCounter, uid));
    for (int i = 0; i < 2100; ++i) {
        ZtString none("old");
        for (const int type : {5, -1, 100})
            EXPECT_FALSE(first.createUID(static_cast<Uids::UIDtype>(type), none) || none.length());
        const std::string next = make(i % 2 ? first : second, i % 5);
        counter = counter % 999 + 1;
        EXPECT_EQ(std::stoi(part(kCounter, next)), counter);
        EXPECT_EQ(part(kType, next), std::to_string(i % 5 + 2));
        EXPECT_EQ(part(kNode, next) + part(kProcess, next), part(kNode, uid) + part(kProcess, uid));
    }
    EXPECT_STREQ(first.lastError(), "[createUID] Invalid type specified.");
    EXPECT_STREQ(second.lastError(), "");
}

TEST(Uids, TakeTheTimeOfTheZoneThatHolds) {
    Uids uids;
    for (const char* zone : {"AAA5", "BBB-5", "CCC0"}) {
        const EnvironmentVariable tz("TZ", zone);
        const auto now = [zone] {
            const std::time_t local = std::time(nullptr) - 3600 * std::stoi(zone + 3);
            char text[80];
            std::strftime(text, sizeof text, "%Y%m%d%H%M%S", std::gmtime(&local));
            return std::string(text);
        };
        const std::string before = now(), made = part(kTime, make(uids));
        int t[6];
        uids.getDateTime(t[0], t[1], t[2], t[3], t[4], t[5]);
        const ZtString got(0, "%d%02d%02d%02d%02d%02d", t[0], t[1], t[2], t[3], t[4], t[5]);
        EXPECT_TRUE(before <= made && made <= got.getString() && got.getString() <= now()) << made;
    }
}

TEST(Uids, RefuseEmptyRootsAndVersions) {
    Uids uids;
    for (const char* text : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(uids.setRootUID(text));
        EXPECT_STREQ(uids.lastError(), "[setRootUID] Got empty root UID.");
        EXPECT_FALSE(uids.setVersion(text));
        EXPECT_STREQ(uids.lastError(), "[setVersion] Got empty version string.");
    }
    EXPECT_TRUE(uids.setRootUID("1.2") && uids.setVersion("7"));
    Uids copy(uids);
    EXPECT_EQ(make(copy).rfind("1.2.2.7.2.", 0), 0u);
    copy.reset();
    part(kTime, make(copy));
    EXPECT_STREQ(copy.lastError(), "[setVersion] Got empty version string.");
}

TEST(Uids, AreDistinctOverThreadsWhenTheyWait) {
    Uids::setWaitForDistinct(true);
    std::vector<std::string> made[4];
    {
        std::vector<std::jthread> threads;
        for (auto& mine : made)
            threads.emplace_back([&mine] {
                for (Uids uids; mine.size() < 300;)
                    mine.push_back(make(uids));
            });
    }
    std::set<std::string> all;
    for (const auto& mine : made)
        all.insert(mine.begin(), mine.end());
    Uids::setWaitForDistinct(false);
    EXPECT_EQ(all.size(), 1200u);
}

TEST(Uids, NameProcessAndDevice) {
    for (const auto& [id, digits] : {std::pair(4711u, 94711), {10000u, 10000}, {109999u, 99999}})
        EXPECT_EQ(uidparts::processDigits(id), digits);
    // Addresses, indices, whether there are devices; the expected number.
    const std::pair<std::vector<platform::NetworkAdapter>, long long> rows[] = {
        {{}, 84320313},
        {{{{}, 1, true}}, 84320313},
        {{{{255, 255, 255, 255, 255, 255}, 1, false}}, 281474976710655},
        {{{{0, 0, 0, 0, 2, 1}, 9, true}, {{1}, 4, true}}, 513},
        {{{{1}, 9, false}, {{0, 0, 0, 3}, 4, true}, {{2}, 10, false}, {{}, 11, true}}, 3 << 16},
        {{{{0, 1}, 3, false}, {{0, 2}, 2, false}}, 1LL << 32}};
    for (const auto& [adapters, number] : rows) {
        uidparts::Node node;
        for (const platform::NetworkAdapter& adapter : adapters)
            node.show(adapter);
        EXPECT_EQ(node.number(), number);
    }
    // The system shows its addresses as files.
    std::set<long long> shown{84320313};
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/net", error)) {
        std::string digits;
        std::getline(std::ifstream(entry.path() / "address"), digits);
        std::erase(digits, ':');
        shown.insert(std::strtoll(digits.c_str(), nullptr, 16));
    }
    Uids uids;
    EXPECT_TRUE(error || shown.count(std::stoll(part(kNode, make(uids))))) << make(uids);
}

TEST(Uids, AreAcceptedByPydicom) {
    Uids uids;
    std::string command =
        "/usr/bin/python3 -c 'import sys, pydicom.uid as p; "
        "print(sum(p.UID(u).is_valid for u in sys.argv[1:]))' 2>/dev/null 1.02";
    for (int type = 0; type < 5; ++type)
        command += " " + make(uids, type);
    int valid = -1;
    if (FILE* const peer = fs::exists("/usr/bin/python3") ? popen(command.c_str(), "r") : nullptr) {
        valid = std::fscanf(peer, "%d", &valid) == 1 ? valid : -1;
        pclose(peer);
    }
    if (valid < 0)
        GTEST_SKIP() << "pydicom is not installed (python3-pydicom)";
    EXPECT_EQ(valid, 5);
}

TEST(BuildTag, HasAValueForEachKey) {
    std::istringstream tag(reinterpret_cast<const char*>(taglibGetVersion()));
    std::string keys, before, key, value;
    std::getline(tag, before, '|');
    EXPECT_EQ("", before);
    while (std::getline(tag, key, '|')) {
        std::getline(tag, value, '|');
        keys += key + " ";
    }
    EXPECT_EQ(
        "vendor product version_major version_minor version_patch version_tag comment "
        "compiler target_os build_cfg build_user build_ip build_time filename path size "
        "sha1 ",
        keys);
    EXPECT_EQ(40u, value.size());
    EXPECT_EQ(std::string::npos, value.find_first_not_of("0123456789abcdef"));
}

}  // namespace
