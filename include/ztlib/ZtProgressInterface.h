// ZtProgressInterface: how a long operation reports its progress and learns that it shall stop.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtFormatCheck.h>

#include <atomic>

/// What operations report to; null stands for no reporting wherever one is taken. This class keeps
/// the state and maps the progress of nested stages to the whole task; a derived class overrides
/// the protected hooks and shows it. An operation brackets its work by `startWorking` and
/// `stopWorking` and reports fractions from 0 to 1; it may cut its range into stages by
/// `subdivide`, each of which again reports from 0 to 1 and ends with one `stopWorking`, and leaves
/// them by `undivide`.
///
/// One thread drives the object; `cancel` and `wasInterrupted` may be called from any.
///
/// Copies share the tree of ranges but each has its own place in it. Where one replaces or leaves
/// stages in which another stands, that one goes on in its stage, which has no next one any more
/// and which it leaves for the whole task.
class ZTLIB_API ZtProgressInterface {
public:
    /// Begin work that the user cannot stop, or can: reports the start of the current range, then
    /// the text, and forgets an earlier `cancel`. Null is an empty text, here and below.
    virtual void startWorkingNoStop(const char* text);
    virtual void startWorking(const char* text);

    /// Ends the current stage, reported as complete, and goes on to the next one; the last stage
    /// stays current. Outside of stages it ends the work.
    virtual void stopWorking();

    /// Reports the fraction `value` of the current range as done; values outside 0 .. 1 pass
    /// unclamped.
    virtual void setProgressValue(float value);

    /// Whether the work shall stop. Long operations ask now and then.
    virtual int wasInterrupted();
    /// Whether the work shall pause; 0 here.
    virtual int wasSuspended();

    /// Shows the text with every "%1" replaced by `a`, then every "%2" by `b`.
    virtual void setProgressTextEx(const char* text, int a, int b);

    /// What a display shows; 0 here.
    virtual float getProgressValue();

    /// Cuts the current range into `n` equal stages (one when `n` is below 1) and enters the first.
    /// Earlier stages of the range are dropped.
    virtual void subdivide(int n);
    /// Cuts it into weights.size() - 1 stages at the weights, which rise from the start of the
    /// range to its end. With fewer than two weights or no positive span `weights` itself becomes
    /// 0, 1. Throws `ZtMemoryException`; the ranges are then as they were.
    virtual void subdivide(ZtDArray<float>& weights);

    /// Leaves the stages of the enclosing range, which are dropped, and goes on to what follows
    /// that range. Back at the whole task, the work is ended.
    virtual void undivide();

    /// For displays that show that something works, delay themselves or bear a title.
    virtual void busy();
    virtual void notBusy();
    virtual void setMinimumTime(int milliseconds);
    virtual void setTitle(const char* title);

    /// Asks the work to stop, from any thread.
    virtual void cancel();

    /// Whether work has started and not ended.
    bool isBusy() const { return busy_; }
    /// Whether the user may stop the work.
    bool canCancel() const { return cancellable_; }

    /// Shows a text formatted as by printf.
    void setProgressInfo(const char* format, ...) ZT_FORMAT_CHECK(2, 3);

protected:
    ZtProgressInterface();
    ZtProgressInterface(const ZtProgressInterface& other);
    ZtProgressInterface& operator=(const ZtProgressInterface& other);
    virtual ~ZtProgressInterface();

    /// The hooks of a display. Work is about to begin, after its start and text were shown; work
    /// has ended; show a value of the whole task, 0 .. 1; show a text, never null.
    virtual void beforeStartWorking();
    virtual void afterStopWorking();
    virtual void setProgressValueGlobal(float value);
    virtual void setProgressText(const char* text);

    /// Makes the enclosing range current again, without dropping its stages.
    void parentRange();
    /// Makes the next stage of the enclosing range current; nothing when there is none.
    void nextRange();

private:
    struct Range;

    void start(const char* text, bool cancellable);
    void finish();
    void enter(Range* range);
    Range* enclosing() const;

    Range* current_;
    Range* root_;
    bool busy_ = false;
    bool cancellable_ = false;
    std::atomic<bool> interrupted_{false};
};
