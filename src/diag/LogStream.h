// The file that a log is written to: buffered, and slow to give a line up.
#pragma once

#include <ztlib/ZtFilename.h>

#include <cstddef>

#include "platform/PlatformOutput.h"

/// A text file that is written at its end. What the system does not take (the disk is full) is
/// kept, up to `kCapacity` bytes, and offered again each time something is written. A file that was
/// removed is made again, with its directory, and takes what was not written yet.
///
/// Errors are numbers of <cerrno>, 0 for success. Not guarded against use by several threads.
class LogStream {
public:
    /// The bytes that wait at most.
    static constexpr std::size_t kCapacity = std::size_t{1} << 20;

    LogStream() = default;
    ~LogStream();
    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;

    /// Opens a file, over what it held. With `console`, standard output and standard error are led
    /// into it until it is closed, and what is appended takes that way, too, in the order in which
    /// all is printed; then the C runtime has the buffer. Expects a closed stream.
    int open(const char* path, bool console);
    bool isOpen() const { return output_ != platform::kNoOutput; }
    bool isConsole() const { return isConsole_; }

    /// Appends the bytes; returns false when there is no room to keep them for later either.
    bool append(const char* bytes, std::size_t count);

    /// Writes what waits.
    int flush();

    /// Closes the file. What still waits is printed on standard output, rather than lost. Returns
    /// the error of the file or, if `consoleIsBack` became false, of the console.
    int close(bool& consoleIsBack);

    /// The last failure of writing, 0 when all is written.
    int error() const { return error_; }

private:
    bool recreate();
    bool spill();
    bool appendToConsole(const char* bytes, std::size_t count);
    void flushConsole();

    ZtFilename path_;
    int output_ = platform::kNoOutput;
    int error_ = 0;
    int consoleError_ = 0;  // since the last flush
    bool isConsole_ = false;
    platform::ConsoleCapture capture_;
    char* buffer_ = nullptr;
    std::size_t waiting_ = 0;
};
