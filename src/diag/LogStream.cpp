// The buffered file of a log.
#include "diag/LogStream.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/PlatformFile.h"

namespace {

// So much is written at once as long as all goes well.
constexpr std::size_t kWriteSize = std::size_t{64} << 10;

constexpr int kDirectoryMode = 0777;
constexpr int kMostLevels = 64;

// Makes the directory of a file and those above it, as far as they are missing. The outermost that
// exists ends the search, at the latest the root or the current directory. Returns a number of
// <cerrno>.
int makeDirectoriesFor(const ZtFilename& file) {
    try {
        ZtDArray<ZtString> missing;
        ZtFilename level = file.dirname();
        while (!ZtFilename::doesExist(level) && missing.size() < kMostLevels) {
            missing.append(level);
            level = level.dirname();
        }
        int error = 0;
        for (int i = missing.size(); i-- > 0 && error == 0;)
            error = platform::makeDirectory(missing[i], kDirectoryMode);
        return error;
    } catch (const ZtMemoryException&) {
        return ENOMEM;
    }
}

}  // namespace

LogStream::~LogStream() {
    bool consoleIsBack = false;
    close(consoleIsBack);
    ztfree(buffer_);  // that of a file that could not be opened
}

int LogStream::open(const char* path, bool console) {
    path_ = path;
    if (!console && !buffer_)
        buffer_ = static_cast<char*>(ztmalloc(kCapacity));
    int error = 0;
    const int output = platform::openOutput(path, platform::OutputMode::kReplace, error);
    if (output == platform::kNoOutput)
        return error;
    if (console) {
        error = capture_.start(output);
        if (error != 0) {
            platform::closeOutput(output);
            return error;
        }
    }
    output_ = output;
    isConsole_ = console;
    error_ = 0;
    waiting_ = 0;
    return 0;
}

// Makes a file that was removed again. The old one stays open if that fails, as the sign that there
// is one to be made.
bool LogStream::recreate() {
    int error = 0;
    int output = platform::openOutput(path_, platform::OutputMode::kContinue, error);
    if (output == platform::kNoOutput && error == ENOENT) {
        error = makeDirectoriesFor(path_);
        if (error == 0)
            output = platform::openOutput(path_, platform::OutputMode::kContinue, error);
    }
    if (output != platform::kNoOutput && isConsole_) {
        error = capture_.start(output);
        if (error != 0) {
            platform::closeOutput(output);
            output = platform::kNoOutput;
        }
    }
    if (output == platform::kNoOutput) {
        error_ = error;
        return false;
    }
    platform::closeOutput(output_);
    output_ = output;
    return true;
}

// Writes what waits, as much as the file takes.
bool LogStream::spill() {
    if (platform::isRemoved(output_) && !recreate())
        return false;
    int error = 0;
    std::size_t written = 0;
    while (written < waiting_ && error == 0)
        written += platform::writeOutput(output_, buffer_ + written, waiting_ - written, error);
    waiting_ -= written;
    if (waiting_ > 0)
        std::memmove(buffer_, buffer_ + written, waiting_);
    error_ = error;
    return error == 0;
}

bool LogStream::append(const char* bytes, std::size_t count) {
    if (isConsole_)
        return appendToConsole(bytes, count);
    if (waiting_ + count > kWriteSize)
        spill();
    if (error_ != 0 && count > kCapacity - waiting_)
        return false;
    while (count > kCapacity - waiting_) {
        // Longer than the buffer, and so far all went well.
        const std::size_t piece = kCapacity - waiting_;
        std::memcpy(buffer_ + waiting_, bytes, piece);
        waiting_ = kCapacity;
        bytes += piece;
        count -= piece;
        if (!spill())
            return false;
    }
    std::memcpy(buffer_ + waiting_, bytes, count);
    waiting_ += count;
    return true;
}

// Takes the bytes in any case: what the runtime cannot write is lost, and no other place left.
bool LogStream::appendToConsole(const char* bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, stdout) != count)
        consoleError_ = errno;
    return true;
}

void LogStream::flushConsole() {
    if (platform::isRemoved(output_) && !recreate())
        return;
    if (std::fflush(stdout) != 0)
        consoleError_ = errno;
    else if (std::ferror(stdout) != 0 && consoleError_ == 0)
        consoleError_ = EIO;  // met by others who print
    std::clearerr(stdout);
    error_ = consoleError_;
    consoleError_ = 0;
}

int LogStream::flush() {
    if (isConsole_)
        flushConsole();
    else
        spill();
    return error_;
}

int LogStream::close(bool& consoleIsBack) {
    consoleIsBack = true;
    if (!isOpen())
        return 0;
    flush();
    if (isConsole_)
        consoleIsBack = capture_.stop();
    else if (waiting_ > 0)
        std::fwrite(buffer_, 1, waiting_, stdout);
    const int closeError = platform::closeOutput(output_);
    output_ = platform::kNoOutput;
    isConsole_ = false;
    ztfree(buffer_);
    buffer_ = nullptr;
    waiting_ = 0;
    return error_ != 0 ? error_ : closeError;
}
