// The diagnostic log: lines, rotation, and the settings of both.
#include <ztlib/ZtLogFile.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>
#include <ztlib/ZtTmpDir.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string_view>

#include "diag/LogFiles.h"
#include "diag/LogStamp.h"
#include "diag/LogStream.h"
#include "diag/SystemResult.h"
#include "platform/PlatformLocalTime.h"

namespace {

// The number in an environment variable, `otherwise` when it is not set or empty.
int numberInEnvironment(const char* variable, int otherwise) {
    const char* const value = std::getenv(variable);
    return value && *value ? ZtString(value).toInt() : otherwise;
}

}  // namespace

struct ZtLogFile::Record {
    LogStream stream;
    ZtFilename logFile;
    int maxNumLogFiles = numberInEnvironment("KORVAL_MAXNUMLOGFILES", 40);
    int maxLogFileSizeMB = 50;
    bool consoleToLog = false;
    bool logToConsole = false;
    bool debug = numberInEnvironment("KORVAL_DEBUG_LOG", 0) >= 1;
    bool dosStyleEOL = false;
    int dateTimeFormat = TIME_OF_DAY;
    ZtString defaultModule;
    long long bytesWritten = 0;
    bool isTimeStampReset = false;
    platform::WallTime reference = {};

    LogStamp stamp;
    long long nameSecond = 0;    // the second in the name of the file
    long long missingLines = 0;  // which the file did not take
    bool isRotating = false;
    bool isProcessEnding = false;
    // What was attempted in vain, with which file, and why: a number of <cerrno>, 0 for success.
    int error = 0;
    const char* attempt = "";
    bool isOfOpenedFile = false;
    ZtFilename refused;
    // Recursive, since the crash handler writes lines wherever the crash happened.
    mutable std::recursive_mutex lock;

    bool isDue() const {
        return stream.isOpen() && bytesWritten > static_cast<long long>(maxLogFileSizeMB) << 20;
    }
    void setResult(int number, const char* what, bool ofOpenedFile) {
        error = number;
        attempt = what;
        isOfOpenedFile = ofOpenedFile;
    }
    std::size_t writeHead(char* out, int level);
    void writeLine(int level, const char* module, const char* text);
    bool writeBytes(const char* bytes, std::size_t count);
    void noteMissingLines();
    void flush();

    static void* operator new(std::size_t size) { return ztmalloc(size); }
    static void operator delete(void* record) noexcept { ztfree(record); }
};

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

constexpr std::size_t kJoinedLine = 2048;

// Whoever writes to the log about a failure finds its number as it was.
struct KeepErrno {
    const int kept = errno;
    ~KeepErrno() { errno = kept; }
};

const char* orEmpty(const char* text) {
    return text ? text : "";
}

char letterOf(int level) {
    switch (level) {
        case ZtLogDebug:
            return 'D';
        case ZtLogWarning:
            return 'W';
        case ZtLogError:
            return 'E';
        case ZtLogCritical:
            return 'C';
        default:
            return ' ';
    }
}

}  // namespace

ZtLogFile::ZtLogFile() : record_(new Record) {}

ZtLogFile::~ZtLogFile() {
    close();
    delete record_;
}

bool ZtLogFile::open(const char* directory, bool datedSubdirectories) {
    return openIn(directory, datedSubdirectories, 0);
}

// Opens a file whose name is of the current second, or, where `earliestSecond` is given, of the
// first second from that one on that no file has.
bool ZtLogFile::openIn(const char* directory, bool datedSubdirectories, long long earliestSecond) {
    Record& record = *record_;
    const Lock lock(record.lock);
    if (record.stream.isOpen())
        return true;
    long long second = std::max(platform::wallTime().seconds, earliestSecond);
    ZtFilename path = directory && *directory ? directory : ZtTmpDir::getSystemTmpPath();
    const auto failed = [&](const char* attempt, int error) {
        record.setResult(error, attempt, false);
        if (error != 0)
            record.refused = path;
        return error != 0;
    };

    while (path.length() > 0 && path[path.length() - 1] == '/')
        path.removeLast();
    if (failed("make log directory", path.isEmptyString() ? EINVAL : logfiles::makeDirectory(path)))
        return false;
    if (datedSubdirectories) {
        if (failed("make log directory", logfiles::enterDated(path, second)))
            return false;
    } else if (record.maxNumLogFiles >= 0) {
        logfiles::prune(path, std::max(record.maxNumLogFiles - 1, 0));
    }
    if (record.maxNumLogFiles == 0)
        return true;

    ZtFilename file = logfiles::pathFor(path, second);
    while (earliestSecond != 0 && ZtFilename::doesExist(file))
        file = logfiles::pathFor(path, ++second);
    path = file;
    if (failed("open log file", record.stream.open(file, record.consoleToLog)))
        return false;
    record.logFile.swapWith(file);
    record.nameSecond = second;
    record.bytesWritten = 0;
    record.missingLines = 0;
    return true;
}

bool ZtLogFile::close() {
    Record& record = *record_;
    const Lock lock(record.lock);
    if (!record.stream.isOpen())
        return true;
    bool isConsoleBack = false;
    const int error = record.stream.close(isConsoleBack);
    record.setResult(error, "write log file", true);
    return error == 0 && isConsoleBack;
}

void ZtLogFile::flush() {
    const KeepErrno keep;
    const Lock lock(record_->lock);
    record_->flush();
}

ZtResult ZtLogFile::lastResult() const {
    const Lock lock(record_->lock);
    const Record& record = *record_;
    if (record.error == 0)
        return ZtOK;
    const ZtFilename& path = record.isOfOpenedFile ? record.logFile : record.refused;
    const ZtString text(0, "could not %s %s: %s", record.attempt, path.getString(),
                        std::strerror(record.error));
    return {systemResult(record.error).code(), text, nullptr, false};
}

void ZtLogFile::Record::flush() {
    // Lines that the file did not take are on standard output. Where that leads into the file, the
    // stream flushes it, after a look at the file.
    if (!stream.isConsole() && (!stream.isOpen() || logToConsole || stream.error() != 0))
        std::fflush(stdout);
    if (stream.isOpen())
        setResult(stream.flush(), "write log file", true);
}

// Goes on in a new file in the directory of the current one. It takes the name of a later second,
// or it would replace the file that it continues. Without memory to do so the log is closed, or
// goes on in the old file for one more line.
void ZtLogFile::rotate() {
    record_->isRotating = true;
    try {
        const ZtFilename last = record_->logFile;
        const ZtFilename directory = last.dirname();
        close();
        openIn(directory, false, record_->nameSecond + 1);
        printf("This file continues %s", last.basename().getString());
    } catch (const ZtMemoryException&) {
        record_->setResult(ENOMEM, "continue log file", true);
    }
    record_->isRotating = false;
}

void ZtLogFile::trace(int level, const char* module, const char* text) {
    if (level == ZtLogDebug && !record_->debug)
        return;
    const KeepErrno keep;
    const Lock lock(record_->lock);
    if (record_->isDue() && !record_->isRotating)
        rotate();
    record_->writeLine(level, module, orEmpty(text));
}

// Writes the stamp, the letter and the bracket that the module follows.
std::size_t ZtLogFile::Record::writeHead(char* out, int level) {
    std::size_t length = 0;
    if (dateTimeFormat != NO_TIME_STAMP) {
        const LogStamp::Form form = dateTimeFormat == DATE_AND_TIME ? LogStamp::kDateAndTime
                                    : isTimeStampReset              ? LogStamp::kElapsed
                                                                    : LogStamp::kTimeOfDay;
        length = stamp.write(out, form, platform::wallTime(), reference);
    }
    out[length++] = letterOf(level);
    out[length++] = ' ';
    out[length++] = '[';
    return length;
}

// Takes no memory, so that an exhausted one can be written about.
void ZtLogFile::Record::writeLine(int level, const char* module, const char* text) {
    if (missingLines > 0)
        noteMissingLines();
    char head[LogStamp::kMostLength + 3];
    if (!module)
        module = defaultModule.getString();
    const std::size_t textLength = std::strlen(text);
    const bool endsItself = textLength > 0 && text[textLength - 1] == '\n';
    const std::string_view end = endsItself ? "" : dosStyleEOL ? "\r\n" : "\n";
    const std::string_view pieces[] = {
        {head, writeHead(head, level)}, module, "] ", {text, textLength}, end};
    std::size_t length = 0;
    for (const std::string_view piece : pieces)
        length += piece.size();
    bool isTaken = true;
    char joined[kJoinedLine];
    if (length <= sizeof joined) {
        char* at = joined;
        for (const std::string_view piece : pieces) {
            std::memcpy(at, piece.data(), piece.size());
            at += piece.size();
        }
        isTaken = writeBytes(joined, length);
    } else {
        for (const std::string_view piece : pieces)
            isTaken &= writeBytes(piece.data(), piece.size());
    }
    missingLines += !isTaken;
    bytesWritten += static_cast<long long>(length);
    if (isProcessEnding)
        flush();
}

// Returns false when the file should have taken the bytes and did not.
bool ZtLogFile::Record::writeBytes(const char* bytes, std::size_t count) {
    const bool isInFile = stream.isOpen() && stream.append(bytes, count);
    if (!isInFile || (logToConsole && !stream.isConsole()))
        std::fwrite(bytes, 1, count, stdout);
    return isInFile || !stream.isOpen();
}

// Says in the file that lines went elsewhere, once it takes lines again.
void ZtLogFile::Record::noteMissingLines() {
    if (!stream.isOpen() || stream.flush() != 0)
        return;
    char text[64];
    std::snprintf(text, sizeof text, "%lld lines could not be written here", missingLines);
    missingLines = 0;
    writeLine(ZtLogWarning, nullptr, text);
}

// Formats a text and writes its line.
void ZtLogFile::writeFormatted(int level, const char* module, const char* format,
                               std::va_list arguments) {
    const KeepErrno keep;
    ZtString text;
    text.vprintf(format, arguments);
    trace(level, module, text);
    flush();
}

void ZtLogFile::tracef(int level, const char* module, const char* format, ...) {
    if (level == ZtLogDebug && !record_->debug)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    writeFormatted(level, module, format, arguments);
    va_end(arguments);
}

void ZtLogFile::printf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writeFormatted(ZtLogInformation, nullptr, format, arguments);
    va_end(arguments);
}

void ZtLogFile::warnf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writeFormatted(ZtLogWarning, nullptr, format, arguments);
    va_end(arguments);
}

void ZtLogFile::errorf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writeFormatted(ZtLogError, nullptr, format, arguments);
    va_end(arguments);
}

void ZtLogFile::print(const char* module, const char* text) {
    trace(ZtLogInformation, module, text);
    flush();
}

void ZtLogFile::warn(const char* module, const char* text) {
    trace(ZtLogWarning, module, text);
    flush();
}

void ZtLogFile::error(const char* module, const char* text) {
    trace(ZtLogError, module, text);
    flush();
}

void ZtLogFile::setMaxNumLogFiles(int count) {
    record_->maxNumLogFiles = count;
}

int ZtLogFile::maxNumLogFiles() const {
    return record_->maxNumLogFiles;
}

void ZtLogFile::setMaxLogFileSizeMB(int megabytes) {
    record_->maxLogFileSizeMB = megabytes;
}

int ZtLogFile::maxLogFileSizeMB() const {
    return record_->maxLogFileSizeMB;
}

void ZtLogFile::setConsoleToLogEnabled(bool enabled) {
    record_->consoleToLog = enabled;
}

bool ZtLogFile::consoleToLogEnabled() const {
    return record_->consoleToLog;
}

void ZtLogFile::setLogToConsoleEnabled(bool enabled) {
    record_->logToConsole = enabled;
}

bool ZtLogFile::logToConsoleEnabled() const {
    return record_->logToConsole;
}

void ZtLogFile::setDosStyleEOLEnabled(bool enabled) {
    record_->dosStyleEOL = enabled;
}

bool ZtLogFile::dosStyleEOLEnabled() const {
    return record_->dosStyleEOL;
}

void ZtLogFile::setDebugEnabled(bool enabled) {
    record_->debug = enabled;
}

bool ZtLogFile::debugEnabled() const {
    return record_->debug;
}

void ZtLogFile::setDateTimeFormat(int format) {
    record_->dateTimeFormat = format;
}

ZtLogFile::DateTimeFormat ZtLogFile::dataTimeFormat() const {
    return static_cast<DateTimeFormat>(record_->dateTimeFormat);
}

void ZtLogFile::setDefautModule(const char* module) {
    record_->defaultModule = orEmpty(module);
}

const char* ZtLogFile::defaultModule() const {
    return record_->defaultModule.isEmptyString() ? nullptr : record_->defaultModule.getString();
}

const ZtFilename& ZtLogFile::logFile() const {
    return record_->logFile;
}

void ZtLogFile::resetTimeStamp() {
    record_->reference = platform::wallTime();
    record_->isTimeStampReset = true;
}

// The last lines before the process ends must not stay in the buffer. Static objects that go after
// this may still write lines.
void ZtLogFile::flushFromNowOn() {
    const Lock lock(record_->lock);
    record_->isProcessEnding = true;
    record_->flush();
}

ZtLogFile& theLogInstance() {
    static ZtLogFile* const log = [] {
        std::atexit([] { theLogInstance().flushFromNowOn(); });
        return new ZtLogFile;
    }();
    return *log;
}
