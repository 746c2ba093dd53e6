// Unbuffered files and standard streams by the runtime's descriptors.
#include "platform/PlatformOutput.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/win32/WidePath.h"

namespace platform {

namespace {

// A program without a console has streams without descriptors; these get one that leads nowhere.
bool giveDescriptor(std::FILE* stream) {
    return _fileno(stream) >= 0 || std::freopen("NUL", "w", stream) != nullptr;
}

}  // namespace

int openOutput(const char* path, OutputMode mode, int& error) {
    const int flags = _O_WRONLY | _O_CREAT | _O_APPEND | _O_BINARY | _O_NOINHERIT |
                      (mode == OutputMode::kReplace ? _O_TRUNC : 0);
    error = faultOf(Call::kOpenFile);
    const WidePath wide(path);
    if (error == 0)
        error = wide.error();
    if (error != 0)
        return kNoOutput;
    int output = _wopen(wide.get(), flags, _S_IREAD | _S_IWRITE);
    error = output < 0 ? errno : 0;
    return output;
}

std::size_t writeOutput(int output, const char* bytes, std::size_t count, int& error) {
    constexpr std::size_t kMost = std::size_t{1} << 30;
    do
        error = faultOf(Call::kWriteFile);
    while (error == EINTR);
    if (error != 0)
        return 0;
    const int written = _write(output, bytes, static_cast<unsigned>(std::min(count, kMost)));
    error = written < 0 ? errno : written == 0 ? ENOSPC : 0;
    return written < 0 ? 0 : static_cast<std::size_t>(written);
}

bool isRemoved(int) {
    return false;  // an open file cannot be removed
}

int closeOutput(int output) {
    return _close(output) == 0 ? 0 : errno;
}

int ConsoleCapture::keep() {
    if (!giveDescriptor(stdout) || !giveDescriptor(stderr))
        return errno;
    savedOutput_ = _dup(_fileno(stdout));
    savedError_ = _dup(_fileno(stderr));
    savedMode_ = _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    return 0;
}

bool ConsoleCapture::lead(int output) {
    return _dup2(output, _fileno(stdout)) == 0 && _dup2(output, _fileno(stderr)) == 0;
}

bool ConsoleCapture::restore() {
    const int console = _open("CON:", _O_WRONLY);
    // Without a console, at least back to where they led, or nowhere.
    const int nowhere = _open("NUL", _O_WRONLY);
    const int toOutput = console >= 0 ? console : savedOutput_ >= 0 ? savedOutput_ : nowhere;
    const int toError = console >= 0 ? console : savedError_ >= 0 ? savedError_ : nowhere;
    const bool isOutputBack = _dup2(toOutput, _fileno(stdout)) == 0;
    const bool isErrorBack = _dup2(toError, _fileno(stderr)) == 0;
    _setmode(_fileno(stdout), savedMode_);
    _setmode(_fileno(stderr), savedMode_);
    const bool isBack = console >= 0 && isOutputBack && isErrorBack;
    for (int descriptor : {console, nowhere, savedOutput_, savedError_})
        if (descriptor >= 0)
            _close(descriptor);
    savedOutput_ = savedError_ = kNoOutput;
    return isBack;
}

}  // namespace platform
