// Crash dumps: arming the writer, and what the log says when one was written.
#include <ztlib/ZtCrashDump.h>
#include <ztlib/ZtException.h>
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtResult.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtTmpDir.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

#include "diag/CrashText.h"
#include "platform/PlatformCrash.h"

namespace {

char reportCommand[1024];

// Never destroyed: the process may crash while it ends.
const ZtString* dumpPath = nullptr;
std::terminate_handler previousTerminate = nullptr;

void logException(int code) {
    ZtLogFile& log = theLogInstance();
    if (const char* const text = crashText(code))
        log.tracef(ZtLogCritical, "", "%s", text);
    else
        log.tracef(ZtLogCritical, "", "Unhandled exception, code %d", code);
}

// The lines are flushed one by one: the process may not live to the next.
void onDumped(int code, platform::CrashDump outcome) {
    try {
        logException(code);
        ZtLogFile& log = theLogInstance();
        switch (outcome) {
            case platform::CrashDump::kNotOpened:
                log.tracef(ZtLogCritical, "", "Could not open crash dump file for writing");
                break;
            case platform::CrashDump::kNotWritten:
                log.tracef(ZtLogCritical, "", "Could not write crash dump file, error code %d",
                           platform::lastSystemError());
                break;
            case platform::CrashDump::kWritten:
                log.tracef(ZtLogCritical, "", "Created crash dump file %s", dumpPath->getString());
                break;
        }
    } catch (...) {
        // No memory for a line; the default handling goes on.
    }
}

// What the exception says that is in flight, as far as it is of a known kind.
void dumpCurrentException() {
    const std::exception_ptr current = std::current_exception();
    if (!current)
        return platform::dumpUncaughtException("none; std::terminate was called");
    try {
        std::rethrow_exception(current);
    } catch (const ZtException& exception) {
        platform::dumpUncaughtException(exception.what());
    } catch (const ZtResult& result) {
        platform::dumpUncaughtException(result.data());
    } catch (const std::exception& exception) {
        platform::dumpUncaughtException(exception.what());
    } catch (...) {
        platform::dumpUncaughtException("of an unknown kind");
    }
}

[[noreturn]] void onTerminate() {
    dumpCurrentException();
    if (previousTerminate)
        previousTerminate();
    std::abort();
}

bool isAbsolute(const char* name) {
    return *name == '/' || *name == '\\' || (*name != '\0' && name[1] == ':');
}

}  // namespace

bool ztInitCrashDumpWriter(const char* dumpFileName) {
    if (platform::isCrashWriterLoaded())
        return false;
    // All that takes memory comes first: what fails then can be tried again.
    ZtLogFile& log = theLogInstance();
    const char* const name = dumpFileName ? dumpFileName : "crash.dmp";
    ZtString path(name);
    if (!isAbsolute(name))
        path.printf("%s/%s", ZtTmpDir::getSystemTmpPath(), name);
    auto kept = std::make_unique<const ZtString>(path);
    switch (platform::loadCrashWriter()) {
        case platform::CrashWriter::kNoLibrary:
            log.errorf("LoadLibrary(\"dbghelp.dll\") failed, error code %d.",
                       platform::lastSystemError());
            return false;
        case platform::CrashWriter::kNotInLibrary:
            log.errorf("Could not get address of MiniDumpWriteDump, error code %d.",
                       platform::lastSystemError());
            return false;
        case platform::CrashWriter::kLoaded:
            break;
    }
    dumpPath = kept.release();
    const unsigned long long previous =
        platform::installCrashHandler(dumpPath->getString(), {crashText, onDumped});
    previousTerminate = std::set_terminate(onTerminate);
    char line[100];
    std::snprintf(line, sizeof line,
                  "Exception handler for crash mini dump set, previous filter: %llx", previous);
    log.print(nullptr, line);
    return true;
}

void ztCatchStackOverflow() {
    platform::catchStackOverflow();
}

void ztSetReportCrashCmd(const char* command) {
    std::strncpy(reportCommand, command ? command : "", sizeof reportCommand - 1);
}

const char* ztReportCrashCmd() {
    return reportCommand;
}
