// ZtWatch: a stop watch.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

#include <cstdio>
#include <iosfwd>

/// Measures the time that passes while it runs, on the system's finest clock that never goes back,
/// and adds it up over any number of runs. With a name it tells its time when it goes, so that one
/// on the stack times a block:
///
///     ZtWatch watch("load");
///
/// Copies are watches of their own that share the name's text. One thread at a time; starting and
/// reading cost some ten nanoseconds.
class ZTLIB_API ZtWatch {
public:
    /// A watch that says nothing by itself.
    explicit ZtWatch(bool start = true);
    /// A watch with a name, for `dump`; null and "" are none.
    explicit ZtWatch(const char* name, bool start = true);
    ZtWatch(const ZtWatch& other);
    ZtWatch& operator=(const ZtWatch& other);
    /// Prints the time as `dump(0)` does.
    ~ZtWatch();

    /// Forgets all time and runs. The first watch of the process that is started tells all watches
    /// how long a tick is; until then they read 0.
    void start();

    /// Stops and returns the time in seconds. The watch should be running: one that is not adds the
    /// time since its last `start` or `cont`, or since it was made, (again).
    float stop();
    /// The same in milliseconds, rounded, within the range of int.
    int stopMSec();

    /// Runs on with the time that it has.
    void cont();

    /// Stops and forgets all time.
    void reset();

    /// Returns the time in seconds.
    float getTime() const;
    /// The same in milliseconds, rounded, within the range of int.
    int getTimeMSec() const;

    /// Whether it was started and not stopped since.
    bool isRunning() const { return isRunning_; }

    /// Prints "Elapsed Time 1.234s" and a line end.
    void show(std::FILE* stream = stdout) const;
    void show(std::ostream& stream) const;

    /// If the watch has a name, prints it on standard output with the index, unless that is 0, the
    /// time in whole milliseconds, and from the second time after `start` on the time since the
    /// last dump: " --- load [07]: 1500 msec  (+ 20 ms)".
    void dump(int index = 0);

private:
    long long elapsedTicks() const;
    void takeName(const ZtString* name);

    bool isRunning_ = false;
    const ZtString* name_ = nullptr;  // counted: copies share it
    float lastDump_ = -1.0f;
    long long accumulated_ = 0;
    long long intervalStart_;
};
