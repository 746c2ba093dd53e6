// The seam to the operating system on POSIX systems.
#include "Host.h"
#include "Temporaries.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>

namespace ztlabel::host {

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

Temporaries temporaries;
std::atomic<int> messageFile{STDERR_FILENO};  // standard error, also while that is dropped
static_assert(std::atomic<int>::is_always_lock_free);

sigset_t endingSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (int signal : kEndingSignals)
        sigaddset(&set, signal);
    return set;
}

// Runs once (SA_RESETHAND): the signal that is raised at the end finds the default action, so that
// the process ends by the signal, as a shell that runs a loop over files expects.
extern "C" void removeTemporariesAndEnd(int signal) {
    temporaries.removeAll([](const char* path) { unlink(path); });
    constexpr char kText[] = "\nztlabel: interrupted\n";
    if (signal != SIGPIPE && write(messageFile, kText, sizeof(kText) - 1) < 0)
        _exit(1);
    raise(signal);
}

}  // namespace

bool isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

unsigned long long memoryBytes() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<unsigned long long>(pages) * static_cast<unsigned long long>(pageSize);
}

int processId() {
    return static_cast<int>(getpid());
}

std::FILE* createNew(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    return file < 0 ? nullptr : fdopen(file, "wb");
}

bool flushToDisk(std::FILE* stream) {
    return std::fflush(stream) == 0 && fsync(fileno(stream)) == 0;
}

void installSignalHandlers() {
    struct sigaction action = {};
    action.sa_handler = removeTemporariesAndEnd;
    action.sa_mask = endingSignals();
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (int signal : kEndingSignals) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN)  // as under nohup
            sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

bool registerTemporary(const std::string& path) {
    return temporaries.add(path);
}
void forgetTemporary(const std::string& path) {
    temporaries.forget(path);
}

StandardErrorDropped::StandardErrorDropped() : kept_(dup(fileno(stderr))) {
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && nowhere >= 0) {
        messageFile = kept_;
        dup2(nowhere, fileno(stderr));
    }
    if (nowhere >= 0)
        close(nowhere);
}

StandardErrorDropped::~StandardErrorDropped() {
    if (kept_ < 0)
        return;
    std::fflush(stderr);
    dup2(kept_, fileno(stderr));
    messageFile = STDERR_FILENO;
    close(kept_);
}

SignalsHeld::SignalsHeld() {
    const sigset_t set = endingSignals();
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

SignalsHeld::~SignalsHeld() {
    const sigset_t set = endingSignals();
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace ztlabel::host
