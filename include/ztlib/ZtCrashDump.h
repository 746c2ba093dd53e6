// What the process leaves behind when it crashes.
#pragma once

#include <ztlib/ZtExport.h>

/// Arms the writer of crash dumps: when the process dies of an access violation, an exhausted
/// stack, a misaligned or failed access, an illegal instruction, an arithmetic trap, or an
/// exception that nothing catches, the crashing thread writes a dump, then a line to the log
/// (`theLogInstance`) at the critical level that names what happened and one that names the dump,
/// and then dies as it would have without. On Windows the dump is a minidump for a debugger,
/// elsewhere a text: signal, fault address, registers, memory map, and a backtrace whose offsets
/// `addr2line` resolves.
///
/// The name is kept. An absolute one (it begins with "/" or a back slash, or has a drive letter) is
/// used as it is; any other is put into the system's directory for temporary files, with "/" before
/// it; null is "crash.dmp". Usually it is the name of the log file with ".dmp" instead of ".log":
/// the log deletes both together.
///
/// To be called once, when the process starts, by its main thread; crashes are caught on any
/// thread, but for exhausted stacks, see `ztCatchStackOverflow`. Returns false, and says why in the
/// log, when there is nothing to write dumps with; and when it was called before, without changing
/// anything.
ZTLIB_API bool ztInitCrashDumpWriter(const char* dumpFileName = nullptr);

/// Lets the writer of crash dumps catch an exhausted stack of the calling thread, too, until the
/// thread ends: sets some stack aside to handle it on. `ztInitCrashDumpWriter` does so for the
/// thread that calls it; worker threads that recurse deeply call this when they start. May be
/// called again.
ZTLIB_API void ztCatchStackOverflow();

/// Keeps the first 1023 characters of a command by which the application reports a crash; null is
/// the empty text. The library does not run it.
ZTLIB_API void ztSetReportCrashCmd(const char* command);

/// Returns the command, which is empty at first.
ZTLIB_API const char* ztReportCrashCmd();
