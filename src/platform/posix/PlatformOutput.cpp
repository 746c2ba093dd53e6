// Unbuffered files and standard streams by their descriptors.
#include "platform/PlatformOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/SystemCall.h"

namespace platform {

namespace {

// Leads a standard stream to where a descriptor leads, or nowhere if there is none.
bool redirect(int from, int to) {
    const int target = to >= 0 ? to : open("/dev/null", O_WRONLY | O_CLOEXEC);
    const bool isDone = target >= 0 && dup2(target, from) == from;
    if (to < 0 && target >= 0 && target != from)
        close(target);
    return isDone;
}

int duplicate(int descriptor) {
    return fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

void closeIfOpen(int& descriptor) {
    if (descriptor >= 0)
        close(descriptor);
    descriptor = kNoOutput;
}

}  // namespace

int openOutput(const char* path, OutputMode mode, int& error) {
    const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY |
                      (mode == OutputMode::kReplace ? O_TRUNC : 0);
    int output = callSystem(Call::kOpenFile, -1, [&] { return open(path, flags, 0666); });
    if (output >= 0 && output <= STDERR_FILENO) {
        const int standard = output;
        output = duplicate(standard);
        error = errno;
        close(standard);
        return output;
    }
    error = errno;
    return output;
}

std::size_t writeOutput(int output, const char* bytes, std::size_t count, int& error) {
    const ssize_t written =
        callSystem(Call::kWriteFile, ssize_t{-1}, [&] { return write(output, bytes, count); });
    error = written < 0 ? errno : written == 0 ? ENOSPC : 0;
    return written < 0 ? 0 : static_cast<std::size_t>(written);
}

bool isRemoved(int output) {
    struct stat status;
    return fstat(output, &status) == 0 && status.st_nlink == 0;
}

int closeOutput(int output) {
    // Closed it is in any case; an interruption tells nothing about what was written.
    return close(output) == 0 || errno == EINTR ? 0 : errno;
}

int ConsoleCapture::keep() {
    savedOutput_ = duplicate(STDOUT_FILENO);
    savedError_ = duplicate(STDERR_FILENO);
    return 0;
}

bool ConsoleCapture::lead(int output) {
    return dup2(output, STDOUT_FILENO) >= 0 && dup2(output, STDERR_FILENO) >= 0;
}

bool ConsoleCapture::restore() {
    const bool isOutputBack = redirect(STDOUT_FILENO, savedOutput_);
    const bool isErrorBack = redirect(STDERR_FILENO, savedError_);
    closeIfOpen(savedOutput_);
    closeIfOpen(savedError_);
    return isOutputBack && isErrorBack;
}

}  // namespace platform
