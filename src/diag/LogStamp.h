// The time stamps of log lines.
#pragma once

#include <cstddef>

#include "platform/PlatformLocalTime.h"

/// Writes the stamps that log lines begin with. All but the milliseconds of the last stamp is kept,
/// since most lines come within the second of the line before.
class LogStamp {
public:
    enum Form {
        kTimeOfDay,   ///< "hh:mm:ss.mmm: "
        kElapsed,     ///< the same, of the time that passed since the reference; days are dropped
        kDateAndTime  ///< "yyyy-mm-dd hh:mm:ss.mmm: "
    };
    static constexpr std::size_t kMostLength = 96;

    /// Writes a stamp with its blank at the end, not zero-terminated, and returns its length. Only
    /// the elapsed form looks at the reference.
    std::size_t write(char* out, Form form, const platform::WallTime& now,
                      const platform::WallTime& reference);

private:
    void refresh(Form form, long long seconds);

    Form form_ = kTimeOfDay;
    long long seconds_ = 0;
    std::size_t length_ = 0;  // 0 before the first stamp
    char text_[kMostLength];
};
