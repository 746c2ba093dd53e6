// Crashes: what the log says, what the dump holds, and how the process ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtCrashDump.h>
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtTmpDir.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "ScratchFolder.h"
#include "diag/CrashText.h"
#include "platform/PlatformCrash.h"

#if !defined(_WIN32)
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using platform::CrashWriter;
using testing::HasSubstr;

constexpr int kDeep = 1 << 30;
volatile int zero = 0;
int* volatile nowhere = reinterpret_cast<int*>(16);
using Function = int (*)();
volatile Function noFunction = nullptr;

}  // namespace

// The ways to crash. Their names are what the backtrace has to lead to.
#define CRASHING extern "C" __attribute__((noinline, no_sanitize("undefined"))) int

constexpr int kAccessLine = __LINE__ + 2;
CRASHING crashByAccess() {
    return *nowhere = 1;
}
CRASHING crashByCall() {
    return noFunction() + 1;
}
CRASHING crashByDivision() {
    return 100 / zero;
}
CRASHING crashByInstruction() {
    __builtin_trap();
}
CRASHING crashByRecursion(int depth) {
    volatile char frame[400];
    frame[0] = static_cast<char>(depth);
    return depth == kDeep ? 0 : crashByRecursion(depth + 1) + frame[0];
}
CRASHING crashByRecursionInThread() {
    std::thread([] {
        ztCatchStackOverflow();
        crashByRecursion(0);
    }).join();
    return 0;
}
CRASHING crashByLargeFrames(int depth) {
    volatile char frame[700000];
    frame[1] = static_cast<char>(depth);
    return depth == kDeep ? 0 : crashByLargeFrames(depth + 1) + frame[zero];
}
CRASHING crashByException() {
    std::thread([] { throw std::runtime_error("what\nwas thrown"); }).join();
    return 0;
}
CRASHING crashBySignal() {
    return std::raise(SIGSEGV) + zero;
}

namespace {

#if defined(_WIN32)
constexpr bool kHasNotes = false;
constexpr int kSignals[] = {SIGSEGV, SIGILL, SIGFPE};
auto diedOf(int) {
    return [](int status) { return status != 0; };
}
std::string resolved(const std::string&) {
    return "";
}
#else
constexpr bool kHasNotes = true;
constexpr int kSignals[] = {SIGSEGV, SIGILL, SIGFPE, SIGBUS};
using diedOf = testing::KilledBySignal;
// What addr2line makes of the backtrace in a note, whose lines are "#number address module offset".
std::string resolved(const std::string& note) {
    std::string text;
    std::istringstream words(note.substr(note.find("\n  #0 ")));
    for (std::string number, address, module, offset; words >> number && number[0] == '#';) {
        std::getline(words >> address, module);
        if (!(std::istringstream(module) >> module >> offset))
            continue;
        const std::string command = "addr2line -f -e " + module + " " + offset;
        std::FILE* const pipe = popen(command.c_str(), "r");
        for (char buffer[512]; std::fgets(buffer, sizeof buffer, pipe);)
            text += buffer;
        pclose(pipe);
    }
    return text;
}
#endif

// A test on Windows runs its crash in a second process, which finds the folder by its name.
struct Folder : ScratchFolder {
    Folder() : ScratchFolder(fs::current_path()) {}

    // The content of the files whose names end so.
    std::string readAll(const std::string& ending) const {
        std::string text;
        for (const std::string& name : names())
            if (name.ends_with(ending))
                text += read(name);
        return text;
    }
};

void crash(const Folder& folder, const std::string& dump, const std::function<void()>& action) {
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);  // a sanitizer's handlers would print and exit
    ZtLogFile& log = theLogInstance();
    log.setDateTimeFormat(ZtLogFile::NO_TIME_STAMP);
    log.setDefautModule("app");
    log.open(folder.of("").c_str());
    const bool isArmed = ztInitCrashDumpWriter(dump.c_str());
    log.trace(ZtLogInformation, nullptr, isArmed ? "waits in the buffer" : "not armed");
    action();
    std::_Exit(0);
}

struct Crash {
    const char* name;
    void (*action)();
    int signal;
    const char* line;      // in the log
    const char* note;      // a line of the note
    const char* function;  // in the backtrace
    bool isOnLinuxOnly = false;
};

void PrintTo(const Crash& crash, std::ostream* out) {
    *out << crash.name;
}

constexpr const char* kSegv = "\nsignal: 11 SIGSEGV\ncode: 1 SEGV_MAPERR\nfault address: 0x";
constexpr const char* kAccess = "Access violation";
constexpr const char* kOverflow = "Stack overflow";

const Crash kCrashes[] = {
    {"Access", [] { crashByAccess(); }, SIGSEGV, kAccess,
     "SEGV_MAPERR\nfault address: 0x0000000000000010\n", "crashByAccess"},
    {"CallOfNothing", [] { crashByCall(); }, SIGSEGV, kAccess, "\n  #0 0x0000000000000000\n  #1 0x",
     "crashByCall"},
    {"Division", [] { crashByDivision(); }, SIGFPE, "Integer divide by zero",
     "\nsignal: 8 SIGFPE\ncode: 1 FPE_INTDIV\n", "crashByDivision"},
    {"Instruction", [] { crashByInstruction(); }, SIGILL, "Illegal instruction",
     "\nsignal: 4 SIGILL\n", "crashByInstruction"},
    {"Recursion", [] { crashByRecursion(0); }, SIGSEGV, kOverflow, kSegv, "crashByRecursion", true},
    {"RecursionInThread", [] { crashByRecursionInThread(); }, SIGSEGV, kOverflow,
     "\nreason: ", "crashByRecursion", true},
    {"LargeFrames", [] { crashByLargeFrames(0); }, SIGSEGV, kOverflow, kSegv, "crashByLargeFrames",
     true},
    {"Exception", [] { crashByException(); }, SIGABRT, "Unhandled exception, code -529697949",
     "\nsignal: none, a C++ exception that nothing caught\n", "crashByException"},
    {"Signal", [] { crashBySignal(); }, SIGSEGV, kAccess,
     "\ncode: -6 sent by a thread\nsent by process: ", "crashBySignal", true}};

class ZtCrashDumpTest : public testing::TestWithParam<Crash> {};
INSTANTIATE_TEST_SUITE_P(Crashes, ZtCrashDumpTest, testing::ValuesIn(kCrashes),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(ZtCrashDumpTest, LeavesALineAndADump) {
    const Crash& row = GetParam();
    if (row.isOnLinuxOnly && !kHasNotes)
        GTEST_SKIP() << "no such crash on Windows, or Wine leaves no stack to handle it";
    const Folder folder;
    const std::string dump = folder.of("the.dmp");
    EXPECT_EXIT(crash(folder, dump, row.action), diedOf(row.signal), "");
    EXPECT_THAT(folder.readAll(".log"),
                HasSubstr("  [app] waits in the buffer\nC [] " + std::string(row.line) +
                          "\nC [] Created crash dump file " + dump + "\n"));
    const std::string note = folder.readAll(".dmp");
    if (!kHasNotes) {
        EXPECT_EQ("MDMP", note.substr(0, 4));
        return;
    }
    const std::string reason = std::string("\nreason: ") + row.line + "\n";
    for (const char* part : {"crash note 1\nprogram: /", reason.c_str(), row.note, "\nregisters:\n",
                             "\nmemory map:\n", " [stack]\n", "\nbacktrace ", "\nend of note\n"})
        EXPECT_THAT(note, HasSubstr(part));
    const std::string lines = resolved(note);
    EXPECT_THAT(lines, HasSubstr(row.function)) << note;
    const bool hasKnownLine = row.function == std::string("crashByAccess");
    EXPECT_THAT(lines, HasSubstr("ZtCrashDumpTest.cpp" +
                                 (hasKnownLine ? ":" + std::to_string(kAccessLine) : "")));
}

TEST(ZtCrashDump, SaysThatThereIsNoDump) {
    const Folder folder;
    const std::string head = "\nC [] Access violation\nC [] Could not ";
    EXPECT_EXIT(crash(folder, folder.of("no/such.dmp"), [] { crashByAccess(); }), diedOf(SIGSEGV),
                "");
    EXPECT_THAT(folder.readAll(".log"), HasSubstr(head + "open crash dump file for writing\n"));
    if (!kHasNotes)
        GTEST_SKIP() << "there is no full device";
    EXPECT_EXIT(crash(folder, "/dev/full", [] { crashByAccess(); }), diedOf(SIGSEGV), "");
    EXPECT_THAT(folder.readAll(".log"),
                HasSubstr(head + "write crash dump file, error code " + std::to_string(ENOSPC)));
}

#if !defined(_WIN32)
// Signals as the processor's traps send them, with the names that their codes have.
TEST(ZtCrashDump, NamesTheSignals) {
    const struct {
        int signal, code;
        const char* text;
    } rows[] = {{SIGFPE, FPE_INTDIV, "Integer divide by zero"},
                {SIGFPE, FPE_INTOVF, "Integer overflow"},
                {SIGFPE, FPE_FLTDIV, "Float divide by zero"},
                {SIGFPE, FPE_FLTOVF, "Float overflow"},
                {SIGFPE, FPE_FLTINV, "Float invalid operation"},
                {SIGFPE, FPE_FLTUND, "Unhandled exception, code 8"},
                {SIGBUS, BUS_ADRALN, "Data type misalignment"},
                {SIGBUS, BUS_ADRERR, "In page error"}};
    for (const auto& row : rows) {
        const Folder folder;
        const auto send = [&row] {
            siginfo_t info = {};
            info.si_signo = row.signal;
            info.si_code = row.code;
            syscall(SYS_rt_sigqueueinfo, getpid(), row.signal, &info);
            std::raise(row.signal);  // no instruction fails again
        };
        EXPECT_EXIT(crash(folder, folder.of("the.dmp"), send), diedOf(row.signal), "");
        EXPECT_THAT(folder.readAll(".log"),
                    HasSubstr(std::string("\nC [] ") + row.text + "\nC [] Created crash dump"));
    }
}

// The note is complete by then, and the signal is that of the first crash.
TEST(ZtCrashDump, ACrashOfTheHandlerEndsTheProcess) {
    const Folder folder;
    const auto crashTwice = [] {
        theLogInstance().close();  // lines go to standard output, which is broken
        std::fflush(stdout);
        std::setvbuf(stdout, reinterpret_cast<char*>(16), _IOFBF, 4096);
        crashByInstruction();
    };
    EXPECT_EXIT(crash(folder, folder.of("the.dmp"), crashTwice), diedOf(SIGILL), "");
    EXPECT_THAT(folder.readAll(".dmp"), HasSubstr("\nreason: Illegal instruction\n"));
    EXPECT_THAT(folder.readAll(".dmp"), testing::EndsWith("\nend of note\n"));
    EXPECT_THAT(folder.readAll(".log"), testing::Not(HasSubstr("Illegal")));
}
#endif

// The first arming holds; a name is put where temporary files are.
TEST(ZtCrashDump, IsArmedOnce) {
    const Folder folder;
    const auto armAgain = [] {
        const bool isArmed = ztInitCrashDumpWriter("/elsewhere.dmp");
        theLogInstance().printf("again: %d", isArmed);
        crashByAccess();
    };
    EXPECT_EXIT(crash(folder, "ztlib-armed-once.dmp", armAgain), diedOf(SIGSEGV), "");
    const std::string path = std::string(ZtTmpDir::getSystemTmpPath()) + "/ztlib-armed-once.dmp";
    const std::string log = folder.readAll(".log");
    EXPECT_THAT(log, HasSubstr("  [app] Exception handler for crash mini dump "
                               "set, previous filter: "));
    EXPECT_THAT(log, HasSubstr("  [app] again: 0\n"));
    EXPECT_THAT(log, HasSubstr("C [] Created crash dump file " + path + "\n"));
    EXPECT_EQ(1, static_cast<int>(fs::remove(path)));
}

// A system without the library that writes dumps; where the library came but lacks the writer, a
// second attempt has nothing more to say.
TEST(ZtCrashDump, SaysWhyItIsNotArmed) {
    theLogInstance().setDateTimeFormat(ZtLogFile::NO_TIME_STAMP);
    const auto attempt = [] {
        testing::internal::CaptureStdout();
        EXPECT_FALSE(ztInitCrashDumpWriter());
        return testing::internal::GetCapturedStdout();
    };
    {
        const platform::CrashWriterFault fault(CrashWriter::kNoLibrary, 126);
        const std::string line = "E [] LoadLibrary(\"dbghelp.dll\") failed, error code 126.\n";
        EXPECT_EQ(line, attempt());
        EXPECT_EQ(line, attempt());
    }
    const platform::CrashWriterFault fault(CrashWriter::kNotInLibrary, 127);
    EXPECT_EQ("E [] Could not get address of MiniDumpWriteDump, error code 127.\n", attempt());
    EXPECT_EQ("", attempt());
}

TEST(ZtCrashDump, NamesTheCodes) {
    const std::pair<unsigned, const char*> rows[] = {{0xC0000005, "Access violation"},
                                                     {0x80000002, "Data type misalignment"},
                                                     {0xC0000006, "In page error"},
                                                     {0xC000001D, "Illegal instruction"},
                                                     {0xC000008E, "Float divide by zero"},
                                                     {0xC0000090, "Float invalid operation"},
                                                     {0xC0000091, "Float overflow"},
                                                     {0xC0000094, "Integer divide by zero"},
                                                     {0xC0000095, "Integer overflow"},
                                                     {0xC00000FD, "Stack overflow"},
                                                     {0xE06D7363, nullptr}};
    for (const auto& [code, text] : rows)
        EXPECT_STREQ(text, crashText(static_cast<int>(code))) << std::hex << code;
}

TEST(ZtCrashDump, KeepsTheReportCommand) {
    EXPECT_STREQ("", ztReportCrashCmd());
    ztSetReportCrashCmd(std::string(2000, 'c').c_str());
    EXPECT_EQ(std::string(1023, 'c'), ztReportCrashCmd());
    ztSetReportCrashCmd(nullptr);
    EXPECT_STREQ("", ztReportCrashCmd());
}

}  // namespace
