// A progress bar on standard error, driven by the stages of the work.
#pragma once

#include <ztlib/ZtProgressInterface.h>

#include <chrono>
#include <string>

namespace ztlabel {

/// Draws itself on one line, which it keeps to itself and wipes at the end. Shows nothing at all
/// unless it is told to, and nothing for work that is over at once.
class TerminalProgress : public ZtProgressInterface {
public:
    explicit TerminalProgress(bool shown) : shown_(shown) {}
    ~TerminalProgress() override { wipe(); }

    float getProgressValue() override { return value_; }
    /// Removes the bar from the line; the next change draws it again.
    void wipe();

protected:
    void beforeStartWorking() override { start_ = Clock::now(); }
    void afterStopWorking() override { wipe(); }
    void setProgressValueGlobal(float value) override;
    void setProgressText(const char* text) override;

private:
    using Clock = std::chrono::steady_clock;

    void draw();

    bool shown_;
    bool drawn_ = false;
    float value_ = 0;
    int drawnPercent_ = -1;
    std::string text_;
    Clock::time_point start_ = Clock::now();
};

}  // namespace ztlabel
