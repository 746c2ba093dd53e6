// ZtLogFile: the application's diagnostic log.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtFormatCheck.h>
#include <ztlib/ZtResult.h>

#include <cstdarg>

/// The levels of log lines and the letters that they print; a level of any other number prints as
/// information.
enum ZtLogLevel {
    ZtLogDebug = 0,        ///< "D", written only while debugging is enabled
    ZtLogInformation = 1,  ///< a blank
    ZtLogWarning = 2,      ///< "W"
    ZtLogError = 3,        ///< "E"
    ZtLogCritical = 4      ///< "C"
};

/// A log: one line per message, with a time stamp, the letter of its level and the name of a
/// module, in one file per run of the process. It keeps the number of files in its directory
/// limited, goes on in a new file when the current one is too long, can lead the process's standard
/// output and standard error into the file, and can echo its lines on standard output. While no
/// file is open, lines go to standard output.
///
/// Opening deletes the oldest ".log" files of the directory, whoever made them (and the ".dmp"
/// files of the same names), so give the log a directory of its own: without one it uses the
/// system's directory for temporary files.
///
/// A line that the file does not take, since the disk is full, is kept and offered again with each
/// later line, up to 1 MiB of lines; then lines go to standard output until there is room again,
/// and the file says how many are missing. A log file that was removed is made again, with its
/// directory. `lastResult` tells what is wrong. Lines that standard output carries into the file,
/// when it is captured, have the buffering of the C runtime instead.
///
/// A line takes a fraction of a microsecond, no memory (beyond that of a formatted text) and a
/// lock, and leaves `errno` alone: any thread may write lines once the log is open. Opening,
/// closing and settings are for one thread at a time. A log that is neither closed nor destroyed
/// loses what it did not flush; `theLogInstance` is flushed when the process ends by returning or
/// by `exit`.
class ZTLIB_API ZtLogFile {
public:
    /// What time stamps show.
    enum DateTimeFormat {
        NO_TIME_STAMP = 0,
        TIME_OF_DAY = 1,   ///< with milliseconds
        DATE_AND_TIME = 2  ///< with milliseconds
    };

    /// A closed log, with the settings that are said at the setters below.
    ZtLogFile();
    /// Closes the log.
    ~ZtLogFile();
    ZtLogFile(const ZtLogFile&) = delete;
    ZtLogFile& operator=(const ZtLogFile&) = delete;

    /// Opens a log file in the directory, which is made if it is missing (one level), named after
    /// the local time and the process: "20261121-150423-4711.log". With `datedSubdirectories` it
    /// lies in the directory "2026/11/21" below; else the oldest log files are deleted first, see
    /// `setMaxNumLogFiles`. Null or "" is the system's directory for temporary files. Returns
    /// whether the file is open; `lastResult` tells why not. Does nothing while a file is open.
    bool open(const char* directory = nullptr, bool datedSubdirectories = false);

    /// Closes the file and leads captured streams back. Returns false when lines could not be
    /// written, which then go to standard output, or the streams could not be led back.
    bool close();

    /// Writes what waits to be written to the file, and standard output where it carries lines.
    void flush();

    /// How writing the log went: `ZtOK`, or the failure of the last attempt to open, write or close
    /// its file, whose text names what failed and the file.
    ZtResult lastResult() const;

    /// Writes one line, "15:04:23.042: W [module] text", and leaves it to the buffer. A null module
    /// is the default module. A text that ends with a line feed keeps it as the end of the line.
    void trace(int level, const char* module, const char* text);
    /// Formats the text as by `printf`, writes the line and flushes the log.
    void tracef(int level, const char* module, const char* format, ...) ZT_FORMAT_CHECK(4, 5);

    /// Write a line of information, a warning or an error, and flush the log; the first three are
    /// formatted and are of the default module.
    void printf(const char* format, ...) ZT_FORMAT_CHECK(2, 3);
    void warnf(const char* format, ...) ZT_FORMAT_CHECK(2, 3);
    void errorf(const char* format, ...) ZT_FORMAT_CHECK(2, 3);
    void print(const char* module, const char* text);
    void warn(const char* module, const char* text);
    void error(const char* module, const char* text);

    // The settings of a file hold from the next `open` on, which may be that of a rotation; those
    // of lines from the next line on.

    /// How many log files a directory keeps, the new one included. A negative number keeps all; 0
    /// deletes all and opens none. At first the number in the environment variable
    /// KORVAL_MAXNUMLOGFILES, or 40.
    void setMaxNumLogFiles(int count);
    int maxNumLogFiles() const;
    /// The length in MiB beyond which the log goes on in a new file, which says so in its first
    /// line; at first 50. Looked at before each line.
    void setMaxLogFileSizeMB(int megabytes);
    int maxLogFileSizeMB() const;
    /// Whether standard output and standard error lead into the file while it is open; at first
    /// not.
    void setConsoleToLogEnabled(bool enabled);
    bool consoleToLogEnabled() const;
    /// Whether lines of the file are printed on standard output, too; at first not.
    void setLogToConsoleEnabled(bool enabled);
    bool logToConsoleEnabled() const;
    /// Whether lines end with "\r\n" instead of "\n"; at first not.
    void setDosStyleEOLEnabled(bool enabled);
    bool dosStyleEOLEnabled() const;
    /// Whether lines of the level 0 are written; at first if the environment variable
    /// KORVAL_DEBUG_LOG has a number of 1 or more.
    void setDebugEnabled(bool enabled);
    bool debugEnabled() const;
    /// At first `TIME_OF_DAY`.
    void setDateTimeFormat(int format);
    DateTimeFormat dataTimeFormat() const;
    /// The module of lines that name none; null, as at first, for none.
    void setDefautModule(const char* module);
    const char* defaultModule() const;

    /// The path of the file that was opened last, empty before.
    const ZtFilename& logFile() const;

    /// From now on the time of day shows the time that has passed since now, without whole days.
    void resetTimeStamp();

    /// Lets `theLogInstance()->printf(...)` stand for `theLogInstance().printf(...)`.
    ZtLogFile* operator->() { return this; }

private:
    struct Record;
    friend ZTLIB_API ZtLogFile& theLogInstance();

    bool openIn(const char* directory, bool datedSubdirectories, long long earliestSecond);
    void rotate();
    void writeFormatted(int level, const char* module, const char* format, std::va_list arguments)
        ZT_FORMAT_CHECK(4, 0);
    void flushFromNowOn();

    Record* record_;
};

/// Returns the log of the process, which is made by the first call and never destroyed.
ZTLIB_API ZtLogFile& theLogInstance();
