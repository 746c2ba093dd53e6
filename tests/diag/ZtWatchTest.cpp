// Stop watches: their times beside the standard clock's, and what they print.
#include <gtest/gtest.h>
#include <ztlib/ZtWatch.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>

namespace {

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Expects a time in seconds between bounds; the two clocks may tick differently.
void expectBetween(double least, float time, double most) {
    EXPECT_LE(least - 1e-3, static_cast<double>(time));
    EXPECT_GE(most + 1e-3, static_cast<double>(time));
}

TEST(ZtWatch, AddsUpTheTimesThatItRuns) {
    const double start = seconds();
    ZtWatch watch;
    EXPECT_TRUE(watch.isRunning());
    pause();
    const float first = watch.stop();
    expectBetween(0.03, first, seconds() - start);
    EXPECT_FALSE(watch.isRunning());
    pause();
    EXPECT_EQ(first, watch.getTime());

    const double again = seconds();
    watch.cont();
    pause();
    const float both = watch.getTime();
    expectBetween(static_cast<double>(first) + 0.03, both,
                  static_cast<double>(first) + seconds() - again);
    const int msec = watch.stopMSec();
    EXPECT_EQ(msec, watch.getTimeMSec());
    EXPECT_GE(msec, static_cast<int>(both * 1000));
    // Stopping twice counts the last run twice.
    EXPECT_GE(watch.stop(), both + 0.029f);
    watch.reset();
    EXPECT_EQ(0.0f, watch.getTime());
    watch.start();
    EXPECT_LT(watch.getTimeMSec(), 30000);
}

TEST(ZtWatch, OneThatNeverRanReadsZeroAndStopsSinceItWasMade) {
    ZtWatch(true).stop();
    const double start = seconds();
    ZtWatch watch(false);
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(0.0f, watch.getTime());
    pause();
    EXPECT_EQ(0, watch.getTimeMSec());
    const float time = watch.stop();
    expectBetween(0.03, time, seconds() - start);
}

TEST(ZtWatchDeathTest, AllReadZeroBeforeTheFirstStart) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process where none has started
    EXPECT_EXIT(
        {
            ZtWatch watch(false);
            watch.cont();
            pause();
            const float before = watch.getTime();
            ZtWatch(true).stop();
            std::exit(before == 0.0f && watch.getTime() > 0.0f ? 7 : 1);
        },
        testing::ExitedWithCode(7), "");
}

template <class Operation>
std::string printed(Operation operation) {
    testing::internal::CaptureStdout();
    operation();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// The text with "#" for each number before " ms".
std::string withoutTimes(std::string text) {
    for (std::size_t at = 0; (at = text.find(" ms", at)) != std::string::npos; at += 3) {
        const std::size_t first = text.find_last_not_of("0123456789", at - 1) + 1;
        text.replace(first, at - first, "#");
        at = first + 1;
    }
    return text;
}

TEST(ZtWatch, ANamedOneTellsItsTime) {
    const std::string text = printed([] {
        ZtWatch watch("load %d");
        watch.dump(7);
        watch.dump(-1);
        watch.start();
        watch.dump(123);
        pause();
    });
    EXPECT_EQ(
        " --- load %d [07]: # msec\n"
        " --- load %d [-1]: # msec  (+ # ms)\n"
        " --- load %d [123]: # msec\n"
        " --- load %d: # msec  (+ # ms)\n",
        withoutTimes(text));
    EXPECT_EQ(
        " --- b: 0 msec\n --- b: 0 msec  (+ 0 ms)\n --- a: 0 msec\n --- a: 0 msec\n --- a: 0 "
        "msec\n",
        printed([] {
            ZtWatch a("a", false);
            ZtWatch copy(a);
            ZtWatch b("b", false);
            b.dump();
            b.dump();
            b = a;
            b = *&b;
            b.reset();
            ZtWatch unnamed, empty("");
            unnamed.dump();
            ZtWatch(static_cast<const char*>(nullptr)).dump(3);
        }));
    std::ostringstream stream;
    const ZtWatch stopped(false);
    stopped.show(stream);
    EXPECT_EQ("Elapsed Time 0.000s\n", stream.str());
    EXPECT_EQ(stream.str(), printed([&] { stopped.show(); }));
}

}  // namespace
