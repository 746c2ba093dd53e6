// ZtMessageCollector: counts messages that would come too often.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// Counts how often each of some messages came up, so that a loop over millions of elements tells
/// each of them once, with its number. Counting is a step into an array. One thread at a time.
class ZTLIB_API ZtMessageCollector {
public:
    /// A message and how often it came up.
    class ZTLIB_API TCountedMsg {
    public:
        /// A message that has not been counted yet.
        explicit TCountedMsg(const ZtString& text) : message(text) {}
        TCountedMsg(const TCountedMsg&) = default;
        TCountedMsg& operator=(const TCountedMsg&) = default;
        virtual ~TCountedMsg();

        /// The text, and how often it came.
        ZtString message;
        int count = 0;
    };

    ZtMessageCollector() = default;
    ZtMessageCollector(const ZtMessageCollector& other) = default;
    ZtMessageCollector& operator=(const ZtMessageCollector& other);
    virtual ~ZtMessageCollector();

    /// Adds a message and returns the number of its slot, from 0 on.
    int addMessageSlot(const ZtString& message);

    /// Counts the message of a slot once more, up to the largest int; another number is ignored.
    void countMessage(int slot);

    /// Sets the count of a slot to 0, of all for -1; another number is ignored.
    void resetSlotCounter(int slot = -1);

    /// Appends a line "message (n times)" for each message that came up, in the order of the slots,
    /// and with `reset` sets all counts to 0. Returns whether there was any. When memory is
    /// exhausted it throws `ZtMemoryException` and leaves report and counts as they were.
    bool generateReport(ZtString& report, bool reset);

private:
    ZtDArray<TCountedMsg, 1> messages_;
};
