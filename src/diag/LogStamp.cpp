// The time stamps of log lines.
#include "diag/LogStamp.h"

#include <cstdio>
#include <cstring>

// Formats all that stays the same within the second.
void LogStamp::refresh(Form form, long long seconds) {
    int length = 0;
    if (form == kElapsed) {
        length = std::snprintf(text_, sizeof text_, "%02d:%02d:%02d.",
                               static_cast<int>(seconds / 3600 % 24),
                               static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    } else {
        const platform::LocalTime time = platform::localTime(seconds);
        if (form == kTimeOfDay)
            length = std::snprintf(text_, sizeof text_, "%02d:%02d:%02d.", time.hour, time.minute,
                                   time.second);
        else
            length = std::snprintf(text_, sizeof text_, "%04d-%02d-%02d %02d:%02d:%02d.", time.year,
                                   time.month, time.day, time.hour, time.minute, time.second);
    }
    length_ = static_cast<std::size_t>(length);
    form_ = form;
    seconds_ = seconds;
}

std::size_t LogStamp::write(char* out, Form form, const platform::WallTime& now,
                            const platform::WallTime& reference) {
    long long seconds = now.seconds;
    int milliseconds = now.milliseconds;
    if (form == kElapsed) {
        seconds -= reference.seconds;
        milliseconds -= reference.milliseconds;
        if (milliseconds < 0) {
            milliseconds += 1000;
            --seconds;
        }
    }
    if (length_ == 0 || seconds != seconds_ || form != form_)
        refresh(form, seconds);
    std::memcpy(out, text_, length_);
    char* end = out + length_;
    *end++ = static_cast<char>('0' + milliseconds / 100);
    *end++ = static_cast<char>('0' + milliseconds / 10 % 10);
    *end++ = static_cast<char>('0' + milliseconds % 10);
    *end++ = ':';
    *end++ = ' ';
    return static_cast<std::size_t>(end - out);
}
