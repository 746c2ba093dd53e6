// How an application sets up its log and its crash dumps at start, and what they hold when it
// crashes: this one does, on purpose.
#include <ztlib/ZtCrashDump.h>
#include <ztlib/ZtLogFile.h>

#include <cstdio>
#include <filesystem>

// Opens the log in a directory of the application's own, and arms the writer of crash dumps. The
// dump bears the name of the log, so that both are deleted together when they are old.
bool setUpDiagnostics(const char* directory) {
    ZtLogFile& log = theLogInstance();
    log.setConsoleToLogEnabled(true);
    log.setMaxLogFileSizeMB(1);
    log.setMaxNumLogFiles(10);
    log.setDefautModule("example");
    if (!log.open(directory)) {
        std::fprintf(stderr, "no log: %s\n", log.lastResult().text());
        return false;
    }
    ZtString dump = log.logFile();
    dump.removeLast(4);
    dump += ".dmp";
    return ztInitCrashDumpWriter(dump);
}

void writeThroughEveryCall() {
    ZtLogFile& log = theLogInstance();
    log.printf("%d slices", 256);
    log.warnf("slice %d is empty", 117);
    log.errorf("slice %d cannot be read", 118);
    log.print("volume", "a message");
    log.warn("volume", "a warning");
    log.error("volume", "an error");
    log.tracef(ZtLogCritical, "volume", "%d%% of memory in use", 99);
    log.trace(ZtLogDebug, "volume", "not written: debugging is off");
    log.setDebugEnabled(true);
    log.trace(ZtLogDebug, "volume", "written: debugging is on");
    log.flush();
    std::printf("what a library prints\n");
    std::fflush(stdout);
    std::fprintf(stderr, "and what it complains about\n");
}

// Long enough to go on in a second file.
void writeMuch() {
    for (int i = 0; i < 20000; ++i)
        theLogInstance().trace(ZtLogInformation, "loop",
                               "one of many lines, which are not flushed");
}

int* volatile missing = nullptr;

void useWhatIsMissing() {
    *missing = 1;  // crashes here
}

int main(int argc, char** argv) {
    // The dump's path has to be absolute: another would be taken from the temporary directory.
    if (argc != 2 || !setUpDiagnostics(std::filesystem::absolute(argv[1]).string().c_str()))
        return 1;
    writeThroughEveryCall();
    writeMuch();
    useWhatIsMissing();
    return 0;
}
