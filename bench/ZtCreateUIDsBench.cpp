// A million identifiers against a second, which they have to stay within, and against what one
// would write for them: one snprintf with the local time and the number of the process of each.
#include <ztlib/ZtCreateUIDs.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <thread>

#include "Compare.h"
#include "platform/PlatformProcess.h"

namespace {

constexpr int kMillion = 1000000;

// Counters aside, the last one of each; the same within the second.
ZtString ours;
std::string peers;

void makeOurs() {
    ZtCreateUIDs uids;
    for (int i = 0; i < kMillion; ++i)
        uids.createUID(ZtCreateUIDs::INSTANCE_UID, ours);
}

void makePeers(const std::string& node) {
    for (int i = 0; i < kMillion; ++i) {
        const std::time_t now = std::time(nullptr);
        const std::tm* const local = std::localtime(&now);
        char text[128];
        std::snprintf(text, sizeof text, "%s.2.%s.%d.%s.%d%02d%02d%02d%02d%02d%03d.%d",
                      "1.3.6.1.4.1.32473", "51", 4, node.c_str(), local->tm_year + 1900,
                      local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min,
                      local->tm_sec, i % 999 + 1,
                      static_cast<int>(platform::processId() % 90000 + 10000));
        peers = text;
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    constexpr int kRounds = 5;
    bench::add({"uids/a million", "a second on the clock", 1, makeOurs,
                [] { std::this_thread::sleep_for(std::chrono::seconds(1)); },
                [] { return ours.length() > 0; }, kMillion},
               kRounds);
    makeOurs();
    const std::string first = ours.getString();
    const std::size_t start = std::string("1.3.6.1.4.1.32473.2.51.4.").size();
    const std::string node = first.substr(start, first.find('.', start) - start);
    bench::add(
        {"uids/a million", "snprintf and localtime", 0, makeOurs, [node] { makePeers(node); },
         [] { return static_cast<std::size_t>(ours.length()) == peers.size(); }, kMillion},
        kRounds);
    benchmark::RunSpecifiedBenchmarks();
}
