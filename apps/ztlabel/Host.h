// What the tool needs of the operating system beyond the standard library: one small seam with an
// implementation for each system (HostPosix.cpp, HostWin32.cpp).
#pragma once

#include <cstdio>
#include <string>

namespace ztlabel::host {

/// Whether the stream is shown to somebody as it is written.
bool isTerminal(std::FILE* stream);

/// Physical memory of the machine in bytes; 0 when unknown.
unsigned long long memoryBytes();

int processId();

/// Creates the file and opens it for binary writing; null, with errno, when it exists already or
/// cannot be created.
std::FILE* createNew(const std::string& path);

/// Hands what was written to the disk, so that a disk that is full says so now. False with errno.
bool flushToDisk(std::FILE* stream);

/// From now on a signal that ends the process (interrupt, termination, hang-up, broken pipe) first
/// removes the registered temporary files. A file that grows too large is a write error, no signal.
void installSignalHandlers();

/// At most eight at a time; each path is forgotten or removed before its file is renamed. False
/// when the path is too long to be kept.
bool registerTemporary(const std::string& path);
void forgetTemporary(const std::string& path);

/// What is written to standard error while one of these lives is dropped.
class StandardErrorDropped {
public:
    StandardErrorDropped();
    ~StandardErrorDropped();
    StandardErrorDropped(const StandardErrorDropped&) = delete;
    StandardErrorDropped& operator=(const StandardErrorDropped&) = delete;

private:
    int kept_;
};

/// Ending signals wait while one of these lives.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
};

}  // namespace ztlabel::host
