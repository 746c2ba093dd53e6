// Files that are written without a buffer, and the way of the console's output into one.
#pragma once

#include <cstddef>

namespace platform {

inline constexpr int kNoOutput = -1;

enum class OutputMode { kReplace, kContinue };

/// Opens a file, by a UTF-8 path, that every write goes to the end of; makes it where it is
/// missing. Programs that are started do not inherit it, and it never takes the place of a standard
/// stream that was closed. Returns `kNoOutput` and sets `error`, a number of <cerrno>, when that
/// fails.
int openOutput(const char* path, OutputMode mode, int& error);

/// Writes as many of the bytes as go in at once, and returns how many; sets `error` when it is
/// none.
std::size_t writeOutput(int output, const char* bytes, std::size_t count, int& error);

/// Whether the file was removed, so that no path leads to what is written.
bool isRemoved(int output);

/// Returns why closing failed, a number of <cerrno>, 0 for success.
int closeOutput(int output);

/// Leads standard output and standard error into a file, and back.
class ConsoleCapture {
public:
    /// Leads both into an output, which stays open; what standard output holds is written to where
    /// it led. Called again, leads them into another output, and what it holds, too. Returns a
    /// number of <cerrno>.
    int start(int output);

    /// Leads both to where they led before; on Windows, to the console, if there is one. Returns
    /// whether that worked. Where it does not, what is printed from then on is lost, not
    /// misdirected.
    bool stop();

private:
    // Keep where both lead, making sure that they can be led; lead both into an output; lead them
    // back to what is kept.
    int keep();
    static bool lead(int output);
    bool restore();

    int savedOutput_ = kNoOutput;
    int savedError_ = kNoOutput;
    int savedMode_ = 0;
    bool isStarted_ = false;
};

}  // namespace platform
