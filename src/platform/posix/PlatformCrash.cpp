// Crashes: the signals of a program that does what it must not, and the note that is written then.
#include "platform/PlatformCrash.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "platform/posix/CrashNote.h"

namespace platform {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE};
constexpr int kSignalCount = sizeof kSignals / sizeof *kSignals;
constexpr std::size_t kHandlerStack = std::size_t{256} << 10;
constexpr std::uintptr_t kNear = std::uintptr_t{64} << 10;
constexpr std::uintptr_t kLargestFrame = std::uintptr_t{64} << 20;
constexpr unsigned kLogSeconds = 5;

// The codes that Windows has for the same mishaps.
constexpr unsigned kAccessViolation = 0xC0000005u;
constexpr unsigned kMisalignment = 0x80000002u;
constexpr unsigned kInPageError = 0xC0000006u;
constexpr unsigned kIllegalInstruction = 0xC000001Du;
constexpr unsigned kFloatDivideByZero = 0xC000008Eu;
constexpr unsigned kFloatInvalid = 0xC0000090u;
constexpr unsigned kFloatOverflow = 0xC0000091u;
constexpr unsigned kIntegerDivideByZero = 0xC0000094u;
constexpr unsigned kIntegerOverflow = 0xC0000095u;
constexpr unsigned kStackOverflow = 0xC00000FDu;

// All of it is written while the handler is installed and only read by the handler.
const char* dumpPath = nullptr;
CrashHooks crashHooks = {};
struct sigaction previousActions[kSignalCount];

// Where the stack of the thread ends, 0 if it has not said so. At a fixed place, since finding one
// could take memory in the handler.
[[gnu::tls_model("initial-exec")]] thread_local std::uintptr_t stackEnd = 0;

bool isLoaded = false;
CrashWriter loadOutcome = CrashWriter::kLoaded;
int loadError = 0;

// The thread that is in the handler, 0 when none is, and the signal that brought it there.
std::atomic<pid_t> crashingThread{0};
std::atomic<int> crashSignal{0};

void unblock(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void setDefault(int signal) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

// Ends the process by the signal that it crashed with, whatever else happened since.
void endAtOnce(int signal) {
    const int first = crashSignal.load();
    const int cause = first != 0 ? first : signal;
    setDefault(cause);
    unblock(cause);
    raise(cause);
}

void restorePrevious() {
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &previousActions[i], nullptr);
}

// An exhausted stack: the address lies where the stack pointer is, or the pointer has left the
// stack, as with a large frame.
bool isStackOverflow(const siginfo_t& info, const ucontext_t& context) {
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    const std::uintptr_t stack = stackPointerOf(context);
    if (info.si_code <= 0 || info.si_code == SI_KERNEL || stack == 0 ||
        address == programCounterOf(context))
        return false;
    if (address + kNear > stack && address < stack + kNear)
        return true;
    return stack < stackEnd && stack + kLargestFrame > stackEnd && address < stackEnd + kNear;
}

unsigned codeOf(const siginfo_t& info, const ucontext_t& context) {
    switch (info.si_signo) {
        case SIGSEGV:
            return isStackOverflow(info, context) ? kStackOverflow : kAccessViolation;
        case SIGBUS:
            return info.si_code == BUS_ADRALN ? kMisalignment : kInPageError;
        case SIGILL:
            return kIllegalInstruction;
        case SIGFPE:
            switch (info.si_code) {
                case FPE_INTDIV:
                    return kIntegerDivideByZero;
                case FPE_INTOVF:
                    return kIntegerOverflow;
                case FPE_FLTDIV:
                    return kFloatDivideByZero;
                case FPE_FLTOVF:
                    return kFloatOverflow;
                case FPE_FLTINV:
                    return kFloatInvalid;
            }
    }
    return static_cast<unsigned>(info.si_signo);
}

// Calls the code above, which writes to the log and may wait for a lock that the crashed thread
// holds, or meet what the crash has destroyed: it has some seconds, and may abort.
void callDumped(int code, CrashDump outcome) {
    constexpr int kGuarded[] = {SIGALRM, SIGABRT};
    struct sigaction old[2];
    struct sigaction action = {};
    action.sa_handler = endAtOnce;
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (int i = 0; i < 2; ++i) {
        sigaction(kGuarded[i], &action, &old[i]);
        unblock(kGuarded[i]);
    }
    const int error = errno;
    alarm(kLogSeconds);
    errno = error;
    crashHooks.dumped(code, outcome);
    alarm(0);
    for (int i = 0; i < 2; ++i)
        sigaction(kGuarded[i], &old[i], nullptr);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// Lets one thread in. A thread that crashes again in the handler ends the process; others wait for
// the first to end it, or to go on.
bool enter(int signal) {
    const pid_t self = gettid();
    pid_t inside = 0;
    if (crashingThread.compare_exchange_strong(inside, self)) {
        crashSignal = signal;
        return true;
    }
    if (inside == self)
        endAtOnce(signal);
    else
        while (crashingThread != 0) {
            const timespec pause = {0, 10'000'000};
            nanosleep(&pause, nullptr);
        }
    return false;
}

void onSignal(int signal, siginfo_t* info, void* argument) {
    const int error = errno;
    if (enter(signal)) {
        ucontext_t& context = *static_cast<ucontext_t*>(argument);
        const int code = static_cast<int>(codeOf(*info, context));
        const CrashFacts facts{code, info, &context, crashHooks.describe(code), nullptr};
        callDumped(code, writeCrashNote(dumpPath, facts));
        restorePrevious();
        // An instruction that failed does so again, and now for good; what was sent is sent again.
        if (info->si_code <= 0)
            raise(signal);
        crashingThread = 0;
    }
    errno = error;
}

// A stack for the handler, with a guard page below, which the thread that makes it uses from then
// on.
class HandlerStack {
public:
    HandlerStack() {
        page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        block_ = mmap(nullptr, page_ + kHandlerStack, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block_ == MAP_FAILED)
            return;
        mprotect(block_, page_, PROT_NONE);
        stack_t stack = {};
        stack.ss_sp = static_cast<char*>(block_) + page_;
        stack.ss_size = kHandlerStack;
        sigaltstack(&stack, nullptr);
    }
    ~HandlerStack() {
        if (block_ == MAP_FAILED)
            return;
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
        munmap(block_, page_ + kHandlerStack);
    }
    HandlerStack(const HandlerStack&) = delete;
    HandlerStack& operator=(const HandlerStack&) = delete;

private:
    std::size_t page_;
    void* block_;
};

void findStackEnd() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return;
    void* start = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &start, &size) == 0)
        stackEnd = reinterpret_cast<std::uintptr_t>(start);
    pthread_attr_destroy(&attributes);
}

unsigned long long addressOf(const struct sigaction& action) {
    return action.sa_flags & SA_SIGINFO ? reinterpret_cast<std::uintptr_t>(action.sa_sigaction)
                                        : reinterpret_cast<std::uintptr_t>(action.sa_handler);
}

}  // namespace

bool isCrashWriterLoaded() {
    return isLoaded;
}

CrashWriter loadCrashWriter() {
    isLoaded = loadOutcome != CrashWriter::kNoLibrary;
    errno = loadError;
    return loadOutcome;
}

void catchStackOverflow() {
    findStackEnd();
    thread_local const HandlerStack stack;
}

unsigned long long installCrashHandler(const char* path, const CrashHooks& hooks) {
    prepareCrashNote();
    dumpPath = path;
    crashHooks = hooks;
    catchStackOverflow();
    struct sigaction action = {};
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &action, &previousActions[i]);
    return addressOf(previousActions[0]);
}

void dumpUncaughtException(const char* text) {
    // The process aborts after this; whatever fails from here on ends it at once.
    if (!dumpPath || !enter(SIGABRT))
        return;
    ucontext_t context;
    getcontext(&context);
    const int code = static_cast<int>(kUncaughtExceptionCode);
    const CrashFacts facts{code, nullptr, &context, crashHooks.describe(code), text};
    callDumped(code, writeCrashNote(dumpPath, facts));
}

int lastSystemError() {
    return errno;
}

CrashWriterFault::CrashWriterFault(CrashWriter outcome, int error) {
    loadOutcome = outcome;
    loadError = error;
}

CrashWriterFault::~CrashWriterFault() {
    loadOutcome = CrashWriter::kLoaded;
    loadError = 0;
    isLoaded = dumpPath != nullptr;
}

}  // namespace platform
