// Stop watches.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtWatch.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <new>
#include <ostream>

#include "platform/PlatformClock.h"

namespace {

// 0 until the first start.
std::atomic<double> tickLength{0.0};

double secondsOf(long long ticks) {
    return static_cast<double>(ticks) * tickLength.load(std::memory_order_relaxed);
}

int clampedToInt(double value) {
    return static_cast<int>(std::clamp<double>(value, INT_MIN, INT_MAX));
}

int roundedMSec(long long ticks) {
    return clampedToInt(std::rint(secondsOf(ticks) * 1000));
}

int truncatedMSec(float seconds) {
    return clampedToInt(static_cast<double>(seconds * 1000));
}

const ZtString* newName(const char* text) {
    if (!text)
        return nullptr;
    const ZtString* const name = new (std::nothrow) ZtString(text);
    if (!name)
        ztThrowMemoryException(sizeof(ZtString));
    return name;
}

struct ElapsedText {
    char text[64];

    explicit ElapsedText(float seconds) {
        std::snprintf(text, sizeof text, "Elapsed Time %.3fs\n", static_cast<double>(seconds));
    }
};

}  // namespace

ZtWatch::ZtWatch(bool start) : ZtWatch(nullptr, start) {}

ZtWatch::ZtWatch(const char* name, bool start) : intervalStart_(platform::clockTicks()) {
    takeName(newName(name));
    if (start)
        this->start();
}

ZtWatch::ZtWatch(const ZtWatch& other) : intervalStart_(other.intervalStart_) {
    *this = other;
}

ZtWatch& ZtWatch::operator=(const ZtWatch& other) {
    isRunning_ = other.isRunning_;
    lastDump_ = other.lastDump_;
    accumulated_ = other.accumulated_;
    intervalStart_ = other.intervalStart_;
    takeName(other.name_);
    return *this;
}

ZtWatch::~ZtWatch() {
    dump(0);
    takeName(nullptr);
}

void ZtWatch::start() {
    if (tickLength.load(std::memory_order_relaxed) == 0.0)
        tickLength.store(platform::secondsPerTick(), std::memory_order_relaxed);
    lastDump_ = -1.0f;
    isRunning_ = true;
    accumulated_ = 0;
    intervalStart_ = platform::clockTicks();
}

float ZtWatch::stop() {
    isRunning_ = false;
    accumulated_ += platform::clockTicks() - intervalStart_;
    return static_cast<float>(secondsOf(accumulated_));
}

int ZtWatch::stopMSec() {
    stop();
    return roundedMSec(accumulated_);
}

void ZtWatch::cont() {
    isRunning_ = true;
    intervalStart_ = platform::clockTicks();
}

void ZtWatch::reset() {
    stop();
    accumulated_ = 0;
}

float ZtWatch::getTime() const {
    return static_cast<float>(secondsOf(elapsedTicks()));
}

int ZtWatch::getTimeMSec() const {
    return roundedMSec(elapsedTicks());
}

void ZtWatch::show(std::FILE* stream) const {
    std::fputs(ElapsedText(getTime()).text, stream);
}

void ZtWatch::show(std::ostream& stream) const {
    stream << ElapsedText(getTime()).text;
}

void ZtWatch::dump(int index) {
    if (!name_ || name_->isEmptyString())
        return;
    const float time = getTime();
    const int msec = truncatedMSec(time);
    if (index != 0)
        std::printf(" --- %s [%02d]: %d msec", name_->getString(), index, msec);
    else
        std::printf(" --- %s: %d msec", name_->getString(), msec);
    if (lastDump_ >= 0)
        std::printf("  (+ %d ms)", truncatedMSec(time - lastDump_));
    std::printf("\n");
    lastDump_ = time;
}

long long ZtWatch::elapsedTicks() const {
    return accumulated_ + (isRunning_ ? platform::clockTicks() - intervalStart_ : 0);
}

void ZtWatch::takeName(const ZtString* name) {
    if (name)
        name->ref();  // first, since the old one may be the same
    if (name_)
        name_->unref();
    name_ = name;
}
