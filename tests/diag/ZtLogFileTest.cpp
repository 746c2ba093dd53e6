// The log: its lines, its files, and what becomes of lines when the file does not take them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtLogFile.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "EnvironmentVariable.h"
#include "ScratchFolder.h"
#include "diag/LogStamp.h"
#include "platform/PlatformFaults.h"

namespace {

namespace fs = std::filesystem;
using platform::Call;
using platform::CallFaults;
using testing::ElementsAre;
using testing::MatchesRegex;

constexpr int kAlways = 1 << 30;
constexpr std::size_t kMegabyte = 1 << 20;

std::string withoutDigits(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }, '#');
    return text;
}

class ZtLogFileTest : public testing::Test {
protected:
    std::string file() const { return log_.logFile().getString(); }
    std::string content() const { return folder_.read(file()); }
    std::string openHere() {
        EXPECT_TRUE(log_.open(folder_.of("").c_str())) << log_.lastResult().text();
        return file();
    }
    int result() const { return log_.lastResult().code(); }

    ScratchFolder folder_;
    ZtLogFile log_;
};

TEST_F(ZtLogFileTest, LinesHaveTheFormOfTheSettings) {
    const struct {
        int format, level;
        const char *defaultModule, *module, *text;
        const char* line;  // "#" is a digit
        bool dos = false;
    } rows[] = {
        {0, ZtLogWarning, nullptr, "a", "b", "W [a] b\n"},
        {0, ZtLogError, "mine", "a", "b", "E [a] b\n"},
        {0, ZtLogCritical, "mine", nullptr, "b", "C [mine] b\n"},
        {0, ZtLogDebug, "mine", "", "b", "D [] b\n"},
        {0, 7, nullptr, nullptr, "b", "  [] b\n"},
        {0, -1, nullptr, nullptr, nullptr, "  [] \n"},
        {0, 1, nullptr, nullptr, "x", "  [] x\r\n", true},
        {0, 1, nullptr, nullptr, "%s%n", "  [] %s%n\n"},
        {1, 2, nullptr, "m", "x", "##:##:##.###: W [m] x\n"},
        {2, 3, nullptr, "m", "x\n", "####-##-## ##:##:##.###: E [m] x\n"},
    };
    openHere();
    log_.setDebugEnabled(true);
    std::size_t read = 0;
    for (const auto& row : rows) {
        log_.setDateTimeFormat(row.format);
        log_.setDefautModule(row.defaultModule);
        log_.setDosStyleEOLEnabled(row.dos);
        log_.trace(row.level, row.module, row.text);
        log_.flush();
        const std::string line = content().substr(read);
        read += line.size();
        EXPECT_EQ(row.line, row.format == ZtLogFile::NO_TIME_STAMP ? line : withoutDigits(line));
    }
    EXPECT_EQ(nullptr, log_.defaultModule());
    log_.setDateTimeFormat(9);  // what is none of the forms is the elapsed time
    log_.resetTimeStamp();
    log_.printf("x");
    EXPECT_THAT(content().substr(read), MatchesRegex("00:00:0.\\....:   \\[\\] x\n"));
}

TEST_F(ZtLogFileTest, EveryCallButTraceFlushes) {
    openHere();
    log_.setDateTimeFormat(ZtLogFile::NO_TIME_STAMP);
    log_.setLogToConsoleEnabled(true);
    const std::string longText(100000, 'x');
    testing::internal::CaptureStdout();
    log_.trace(ZtLogDebug, "m", "not written");
    log_.trace(ZtLogInformation, "m", "waits");
    EXPECT_EQ("", content());
    log_.tracef(ZtLogCritical, "m", "%d", 1);
    log_.printf("%d", 2);
    log_.warnf("%d", 3);
    log_.errorf("%d", 4);
    log_.print("m", "%5");
    log_.warn("m", "6");
    log_.error("m", "7");
    const char* const noFormat = nullptr;
    log_.printf(noFormat);
    log_.error("m", longText.c_str());
    const std::string all =
        "  [m] waits\nC [m] 1\n  [] 2\nW [] 3\nE [] 4\n  [m] %5\nW [m] 6\nE [m] 7\n  [] \nE [m] " +
        longText + "\n";
    EXPECT_EQ(all, content());
    EXPECT_EQ(all, testing::internal::GetCapturedStdout());
}

// Elapsed times and borrowed milliseconds; the wall clock is compared with the C library's.
TEST(LogStamp, ShowsTheTime) {
    LogStamp stamps;
    const auto stamp = [&](LogStamp::Form form, platform::WallTime now, platform::WallTime since) {
        char out[LogStamp::kMostLength];
        return std::string(out, stamps.write(out, form, now, since));
    };
    const struct {
        platform::WallTime now, reference;
        const char* text;
    } rows[] = {{{1001, 5}, {1000, 6}, "00:00:00.999: "},
                {{1001, 7}, {1000, 6}, "00:00:01.001: "},
                {{90000, 1}, {1000, 2}, "00:43:19.999: "},
                {{1LL << 40, 0}, {0, 999}, "00:36:15.001: "},
                {{1000, 0}, {1001, 500}, "00:00:-2.500: "}};
    for (const auto& row : rows)
        EXPECT_EQ(row.text, stamp(LogStamp::kElapsed, row.now, row.reference));
    // Forms in turn and seconds that repeat, so that a stamp is kept where it must not be.
    for (int i = 0; i < 400; ++i) {
        const time_t second = 1'700'000'000 + i / 4 * 1'234'567;
        char text[64];
        std::strftime(text, sizeof text, i % 2 ? "%Y-%m-%d %H:%M:%S" : "%H:%M:%S",
                      std::localtime(&second));
        const auto form = i % 2 ? LogStamp::kDateAndTime : LogStamp::kTimeOfDay;
        EXPECT_EQ(std::string(text) + ".042: ", stamp(form, {second, 42}, {}));
    }
}

// The limit is passed by one byte before the file changes, and each file names the one before.
TEST_F(ZtLogFileTest, RotatesPastTheLimit) {
    const std::string first = openHere();
    log_.setMaxLogFileSizeMB(1);
    log_.setDateTimeFormat(ZtLogFile::NO_TIME_STAMP);
    log_.trace(1, nullptr, std::string(kMegabyte - 6, 'y').c_str());  // and "  [] ", "\n"
    log_.trace(1, nullptr, "passes it");
    EXPECT_EQ(first, file());
    log_.print(nullptr, "in the second");
    const std::string second = file();
    ASSERT_LT(first, second);
    EXPECT_EQ(kMegabyte + 15, fs::file_size(first));
    EXPECT_EQ("  [] This file continues " + fs::path(first).filename().string() +
                  "\n  [] in the second\n",
              folder_.read(second));
    // Each line is past a limit of 0 and past a negative one.
    for (const int limit : {0, -1, 4096}) {
        log_.setMaxLogFileSizeMB(limit);
        log_.print(nullptr, "x");
        log_.print(nullptr, "y");
    }
    EXPECT_THAT(content(), testing::HasSubstr("[] y\n"));
    EXPECT_EQ(6u, folder_.names().size());
}

TEST_F(ZtLogFileTest, KeepsTheNewestFiles) {
    const auto fill = [&] {
        for (const char* name : {"a", "b", "c", "d", "e"})
            for (const char* ending : {".log", ".dmp"})
                folder_.addFile(std::string(name) + ending);
    };
    folder_.addFile("a.logs");
    folder_.addFile("0.dmp");
    fill();
    log_.setMaxNumLogFiles(-1);
    openHere();
    log_.close();
    fs::remove(file());
    EXPECT_EQ(12u, folder_.names().size());

    log_.setMaxNumLogFiles(3);
    openHere();
    log_.close();
    const std::string made = fs::path(file()).filename().string();
    EXPECT_THAT(folder_.names(),
                ElementsAre("0.dmp", made, "a.logs", "d.dmp", "d.log", "e.dmp", "e.log"));
    fill();
    folder_.addFolder("0.log");  // counts, but is no file
    log_.setMaxNumLogFiles(0);
    EXPECT_TRUE(log_.open((folder_.of("") + "//").c_str()));
    EXPECT_THAT(folder_.names(), ElementsAre("0.log", "a.logs"));
    testing::internal::CaptureStdout();
    log_.setDateTimeFormat(0);
    log_.printf("no file");
    EXPECT_EQ("  [] no file\n", testing::internal::GetCapturedStdout());
}

TEST_F(ZtLogFileTest, DatedDirectoriesKeepAllFiles) {
    log_.setMaxNumLogFiles(1);
    ASSERT_TRUE(log_.open(folder_.of("new").c_str(), true));
    const std::string path = file();
    EXPECT_THAT(withoutDigits(path.substr(folder_.of("new").size())),
                testing::StartsWith("/####/##/##/########-######-"));
    log_.close();
    const fs::path inside = fs::path(path).parent_path();
    const std::string beside = folder_.addFile((inside / "0.log").string());
    ASSERT_TRUE(log_.open(folder_.of("new").c_str(), true));
    EXPECT_TRUE(fs::exists(beside));
    // A rotation stays there, and limits the number of files.
    log_.setMaxLogFileSizeMB(0);
    log_.printf("x");
    log_.printf("y");
    EXPECT_FALSE(fs::exists(beside));
    EXPECT_EQ(inside, fs::path(file()).parent_path());
}

TEST_F(ZtLogFileTest, EnvironmentSetsTheDefaults) {
    const struct {
        const char *files, *debug;
        int maxFiles;
        bool isDebug;
    } rows[] = {
        {"", "", 40, false}, {"-1", "2", -1, true}, {"0", "-1", 0, false}, {"x", "yes", 0, false}};
    for (const auto& row : rows) {
        const EnvironmentVariable files("KORVAL_MAXNUMLOGFILES", row.files);
        const EnvironmentVariable debug("KORVAL_DEBUG_LOG", row.debug);
        const ZtLogFile log;
        EXPECT_EQ(row.maxFiles, log.maxNumLogFiles()) << row.files;
        EXPECT_EQ(row.isDebug, log.debugEnabled()) << row.debug;
    }
}

TEST_F(ZtLogFileTest, SaysWhyItCannotBeOpened) {
    const std::string plain = folder_.addFile("plain");
    const struct {
        std::string directory;
        const ZtResult& result;
        Call call = Call::kOpenFile;
        int fault = 0;
    } rows[] = {{plain, ZtENOTDIR},
                {folder_.of("no/such"), ZtENOENT},
                {"///", ZtEINVAL},
                {folder_.of("new"), ZtEROFS, Call::kMakeDirectory, EROFS},
                {folder_.of(""), ZtEACCES, Call::kOpenFile, EACCES}};
    for (const auto& row : rows) {
        CallFaults faults;
        if (row.fault != 0)
            faults.fail(row.call, row.fault, 0, kAlways);
        EXPECT_FALSE(log_.open(row.directory.c_str()));
        EXPECT_EQ(row.result.code(), result()) << row.directory << log_.lastResult().data();
        EXPECT_THAT(log_.lastResult().text(), testing::StartsWith("could not "));
        EXPECT_STREQ("", log_.logFile());
    }
}

// A full disk and interrupted writes: what was refused is offered again, in its order and once.
TEST_F(ZtLogFileTest, KeepsLinesThatTheDiskDoesNotTake) {
    openHere();
    log_.setDateTimeFormat(0);
    std::string all;
    const auto write = [&](int count, int fault, int times) {
        CallFaults faults;
        faults.fail(Call::kWriteFile, fault, 0, fault ? times : 0);
        for (int i = 0; i < count; ++i) {
            const std::string text = "line " + std::to_string(all.size());
            log_.trace(1, nullptr, text.c_str());
            all += "  [] " + text + "\n";
        }
        if (count < 100000)
            log_.flush();
        return result();
    };
    EXPECT_EQ(0, write(10, EINTR, 5));
    EXPECT_EQ(all, content());
    EXPECT_EQ(ZtENOSPC.code(), write(20000, ENOSPC, kAlways));  // several times what is written
    EXPECT_THAT(log_.lastResult().text(), testing::HasSubstr(file()));
    EXPECT_EQ(0, write(10, 0, 0));
    EXPECT_EQ(all, content());

    // More than can be kept goes to standard output, and leaves a note; so does what is kept when
    // the file is closed.
    const std::size_t before = all.size();
    testing::internal::CaptureStdout();
    write(100000, ENOSPC, kAlways);
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::size_t kept = all.size() - printed.size();
    EXPECT_LT(before, kept);
    EXPECT_EQ(all.substr(kept), printed);
    const auto missing = std::count(printed.begin(), printed.end(), '\n');
    all.resize(kept);
    all += "W [] " + std::to_string(missing) + " lines could not be written here\n";
    write(1, 0, 0);
    EXPECT_EQ(all, content());

    testing::internal::CaptureStdout();
    write(10, EIO, kAlways);
    CallFaults faults;
    faults.fail(Call::kWriteFile, EIO, 0, kAlways);
    EXPECT_FALSE(log_.close());
    EXPECT_EQ(all, content() + testing::internal::GetCapturedStdout());
    EXPECT_EQ(ZtEIO.code(), result());
}

TEST_F(ZtLogFileTest, IsWrittenWhenTheProcessEnds) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "the second process of such tests has another folder";
    struct Late {
        ~Late() { theLogInstance().trace(1, nullptr, "late"); }
    };
    const auto end = [&] {
        static const Late late;
        theLogInstance().setDateTimeFormat(0);
        theLogInstance().open(folder_.of("").c_str());
        theLogInstance()->trace(1, nullptr, "waits");
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
    EXPECT_EQ("  [] waits\n  [] late\n", folder_.read(folder_.of(folder_.names().at(0))));
}

// The file and its directory go while the log is open.
TEST_F(ZtLogFileTest, MakesARemovedFileAgain) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "Windows does not remove open files";
    log_.setDateTimeFormat(0);
    for (const bool withConsole : {true, false}) {
        log_.setConsoleToLogEnabled(withConsole);
        log_.close();
        ASSERT_TRUE(log_.open(folder_.of("logs").c_str()));
        for (const bool withDirectory : {false, true}) {
            log_.printf("lost with the file");
            log_.trace(1, nullptr, "not written yet");
            withDirectory ? fs::remove_all(folder_.of("logs")) : fs::remove(file());
            log_.printf("later");
            EXPECT_EQ("  [] not written yet\n  [] later\n", content());
        }
    }
    // Where it cannot be made, lines wait.
    fs::remove_all(folder_.of("logs"));
    const std::string inTheWay = folder_.addFile("logs");
    log_.printf("waits");
    EXPECT_EQ(ZtENOTDIR.code(), result());
    fs::remove(inTheWay);
    log_.flush();
    EXPECT_EQ("  [] waits\n", content());
    EXPECT_EQ(0, result());
}

TEST_F(ZtLogFileTest, CapturesTheConsole) {
    log_.setDateTimeFormat(0);
    log_.setConsoleToLogEnabled(true);
    const std::string path = openHere();
    log_.setConsoleToLogEnabled(false);  // does not act on the open file
    std::printf("printed\n");
    log_.printf("line");
    std::fprintf(stderr, "error\n");
    log_.trace(1, "m", "last");
    const bool isBack = log_.close();
    std::printf("after\n");
    std::fflush(stdout);
    EXPECT_EQ("printed\n  [] line\nerror\n  [m] last\n", folder_.read(path));
    EXPECT_TRUE(isBack || !kNamesAreBytes) << "there may be no console";
    // And again, in another file.
    log_.setConsoleToLogEnabled(true);
    ASSERT_TRUE(log_.open(folder_.of("again").c_str()));
    std::printf("printed again\n");
    log_.close();
    EXPECT_EQ("printed again\n", content());
}

TEST_F(ZtLogFileTest, IsNotInheritedByPrograms) {
    if (!kNamesAreBytes)
        GTEST_SKIP() << "looks into /proc";
    openHere();
    const std::string command = "ls -l /proc/self/fd | grep -q '" + folder_.of("") + "'";
    EXPECT_NE(0, std::system(command.c_str()));
}

// Lines of several threads arrive whole and once, across files.
TEST_F(ZtLogFileTest, TakesLinesOfSeveralThreads) {
    openHere();
    log_.setDateTimeFormat(0);
    log_.setMaxLogFileSizeMB(1);
    const std::string text(60, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i)
                log_.trace(1, nullptr, text.c_str());
        });
    for (std::thread& thread : threads)
        thread.join();
    log_.close();
    std::string all;
    for (const std::string& name : folder_.names())
        all += folder_.read(name);
    std::istringstream in(all);
    std::size_t whole = 0, continued = 1;
    for (std::string line; std::getline(in, line);) {
        whole += line == "  [] " + text;
        continued += line.starts_with("  [] This file continues");
    }
    EXPECT_EQ(80000u, whole);
    EXPECT_EQ(folder_.names().size(), continued);
}

}  // namespace
