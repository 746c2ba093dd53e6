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

using Clock = std::chrono::steady_clock;

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

// Expects so many pauses and no more than went by; the two clocks may tick differently.
void expectPauses(int count, float time, Clock::time_point start) {
    EXPECT_LE(0.03f * static_cast<float>(count) - 1e-3f, time);
    EXPECT_GE(std::chrono::duration<float>(Clock::now() - start).count() + 1e-3f, time);
}

TEST(ZtWatch, AddsUpTheTimesThatItRuns) {
    const auto start = Clock::now();
    ZtWatch watch;
    EXPECT_TRUE(watch.isRunning());
    pause();
    const float first = watch.stop();
    expectPauses(1, first, start);
    EXPECT_FALSE(watch.isRunning());
    pause();
    EXPECT_EQ(first, watch.getTime());

    const auto again = Clock::now();
    watch.cont();
    pause();
    const float both = watch.getTime();
    expectPauses(1, both - first, again);
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
    const ZtWatch first(true);  // without one that was started, all read zero
    const auto start = Clock::now();
    ZtWatch watch(false);
    pause();
    EXPECT_EQ(0, watch.getTimeMSec());
    expectPauses(1, watch.stop(), start);
}

TEST(ZtWatchDeathTest, AllReadZeroBeforeTheFirstStart) {
    GTEST_FLAG_SET(death_test_style,
                   "threadsafe");  // in a process where none has started
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

TEST(ZtWatch, ANamedOneTellsItsTime) {
    testing::internal::CaptureStdout();
    {
        ZtWatch a("a", false), copy(a), b("b%d", false), unnamed, empty("");
        b.dump(7);
        b.dump(-1);
        b.dump(123);
        b.dump();
        b.dump();
        b = a;
        b.reset();
        unnamed.dump();
        ZtWatch(static_cast<const char*>(nullptr)).dump(3);
        a.show();
    }
    std::fflush(stdout);
    EXPECT_EQ(
        " --- b%d [07]: 0 msec\n"
        " --- b%d [-1]: 0 msec  (+ 0 ms)\n"
        " --- b%d [123]: 0 msec  (+ 0 ms)\n"
        " --- b%d: 0 msec  (+ 0 ms)\n"
        " --- b%d: 0 msec  (+ 0 ms)\n"
        "Elapsed Time 0.000s\n"
        " --- a: 0 msec\n --- a: 0 msec\n --- a: 0 msec\n",
        testing::internal::GetCapturedStdout());
    std::ostringstream stream;
    ZtWatch(false).show(stream);
    EXPECT_EQ("Elapsed Time 0.000s\n", stream.str());
    testing::internal::CaptureStdout();
    {
        ZtWatch running("r");
        pause();
        running.dump();
    }
    int first, second, more;
    const std::string text = testing::internal::GetCapturedStdout();
    ASSERT_EQ(3, std::sscanf(text.c_str(), " --- r: %d msec\n --- r: %d msec  (+ %d ms)\n", &first,
                             &second, &more));
    EXPECT_TRUE(first >= 29 && second >= first && more >= 0 && more <= second - first + 1);
}

}  // namespace
