// Counted messages.
#include <ztlib/ZtMessageCollector.h>

#include <climits>

ZtMessageCollector::TCountedMsg::~TCountedMsg() = default;

ZtMessageCollector::~ZtMessageCollector() = default;

ZtMessageCollector& ZtMessageCollector::operator=(const ZtMessageCollector& other) {
    ZtDArray<TCountedMsg, 1> copy(other.messages_);  // all or nothing
    messages_.swapWith(copy);
    return *this;
}

int ZtMessageCollector::addMessageSlot(const ZtString& message) {
    return messages_.push(TCountedMsg(message));
}

void ZtMessageCollector::countMessage(int slot) {
    if (messages_.isValidIndex(slot) && messages_[slot].count < INT_MAX)
        ++messages_[slot].count;
}

void ZtMessageCollector::resetSlotCounter(int slot) {
    if (slot == -1) {
        for (TCountedMsg& message : messages_)
            message.count = 0;
    } else if (messages_.isValidIndex(slot)) {
        messages_[slot].count = 0;
    }
}

bool ZtMessageCollector::generateReport(ZtString& report, bool reset) {
    ZtString lines;
    for (const TCountedMsg& message : messages_)
        if (message.count > 0)
            lines += ZtString(0, "%s (%d times)\n", message.message.getString(), message.count);
    report += lines;
    if (reset)
        resetSlotCounter();
    return !lines.isEmptyString();
}
