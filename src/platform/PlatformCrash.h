// What the library needs of the system when the process crashes: a handler for what nobody handles,
// and a dump of the state that the process dies in.
#pragma once

#include <ztlib/ZtExport.h>

namespace platform {

/// How writing a dump ended.
enum class CrashDump { kWritten, kNotOpened, kNotWritten };

/// What the handler asks the code above for.
struct CrashHooks {
    /// The text of an exception code, null when it has none of its own. Takes no memory and no
    /// lock.
    const char* (*describe)(int code);
    /// Called on the crashing thread when the dump is done. `lastSystemError` is that of a failure.
    void (*dumped)(int code, CrashDump outcome);
};

/// Whether the writer of dumps was loaded, by a call that may have failed later on.
bool isCrashWriterLoaded();

/// How loading the writer of dumps ended.
enum class CrashWriter { kLoaded, kNoLibrary, kNotInLibrary };

/// Gets hold of the system's writer of dumps, where the system has one; ours is always there.
/// `lastSystemError` is that of a failure.
CrashWriter loadCrashWriter();

/// Installs the handler of what ends the process: of access violations and the like, the exhausted
/// stack of the calling thread included. The handler writes a dump to `path`, which it keeps, calls
/// `hooks.dumped` and lets the system, or the handler that was installed before, go on. That one's
/// address is returned, 0 for the system's own.
///
/// The codes are those that Windows gives to exceptions, on every system; a signal without such a
/// code goes by its number.
unsigned long long installCrashHandler(const char* path, const CrashHooks& hooks);

/// Sees to it that the handler also gets the exhausted stack of the calling thread.
void catchStackOverflow();

/// The code of a C++ exception that nobody catches.
constexpr unsigned kUncaughtExceptionCode = 0xE06D7363u;

/// Writes the dump of the calling thread, which ends the process by `kUncaughtExceptionCode`, and
/// calls `hooks.dumped`. `text` says what was thrown. Does nothing before a handler is installed.
void dumpUncaughtException(const char* text);

/// The system's number of the last failure in the calling thread.
int lastSystemError();

/// Lets a test play a system without a writer of dumps.
class ZTLIB_API CrashWriterFault {
public:
    CrashWriterFault(CrashWriter outcome, int error);
    ~CrashWriterFault();
    CrashWriterFault(const CrashWriterFault&) = delete;
    CrashWriterFault& operator=(const CrashWriterFault&) = delete;
};

}  // namespace platform
