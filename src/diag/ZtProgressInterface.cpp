// Progress through a tree of nested ranges.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtString.h>

#include <cstdarg>
#include <new>

// A range of the whole task and its stages. Ranges are counted: by the list of stages that they are
// in and by every object that stands in them. So a stage may outlive its place in the tree, and
// then has no parent and no next stage.
struct ZtProgressInterface::Range {
    float first;
    float last;
    int references = 1;
    Range* parent = nullptr;
    Range* next = nullptr;
    Range* firstStage = nullptr;

    static Range* create(float first, float last) {
        return new (ztmalloc(sizeof(Range))) Range{first, last};
    }

    static Range* retain(Range* range) {
        ++range->references;
        return range;
    }

    static void release(Range* range) {
        if (--range->references == 0)
            destroy(range);
    }

    // Takes the stages of a range from it and releases them.
    static void dropStages(Range* range) {
        releaseAll(range->firstStage, nullptr);
        range->firstStage = nullptr;
    }

    // Releases a list of stages; `doomed` is a list of ranges to free. Without recursion, since
    // nothing limits how deep ranges are nested.
    static void releaseAll(Range* stage, Range* doomed) {
        for (;;) {
            while (stage) {
                Range* const next = stage->next;
                stage->parent = nullptr;
                stage->next = nullptr;
                if (--stage->references == 0) {
                    stage->next = doomed;
                    doomed = stage;
                }
                stage = next;
            }
            if (!doomed)
                return;
            Range* const range = doomed;
            doomed = range->next;
            stage = range->firstStage;
            ztfree(range);
        }
    }

    static void destroy(Range* range) { releaseAll(nullptr, range); }
};

namespace {

const char* orEmpty(const char* text) {
    return text ? text : "";
}

}  // namespace

ZtProgressInterface::ZtProgressInterface() : root_(Range::create(0.0f, 1.0f)) {
    current_ = Range::retain(root_);
}

ZtProgressInterface::ZtProgressInterface(const ZtProgressInterface& other)
    : current_(Range::retain(other.current_)),
      root_(Range::retain(other.root_)),
      busy_(other.busy_),
      cancellable_(other.cancellable_),
      interrupted_(other.interrupted_.load()) {}

ZtProgressInterface& ZtProgressInterface::operator=(const ZtProgressInterface& other) {
    Range* const oldRoot = root_;
    root_ = Range::retain(other.root_);
    enter(other.current_);
    Range::release(oldRoot);
    busy_ = other.busy_;
    cancellable_ = other.cancellable_;
    interrupted_ = other.interrupted_.load();
    return *this;
}

ZtProgressInterface::~ZtProgressInterface() {
    Range::release(current_);
    Range::release(root_);
}

// Makes `range` current.
void ZtProgressInterface::enter(Range* range) {
    Range* const left = current_;
    current_ = Range::retain(range);
    Range::release(left);
}

// The range that the current one is a stage of; the root, when the current one was dropped from its
// list by a copy of this object.
ZtProgressInterface::Range* ZtProgressInterface::enclosing() const {
    return current_->parent ? current_->parent : root_;
}

void ZtProgressInterface::start(const char* text, bool cancellable) {
    setProgressValueGlobal(current_->first);
    setProgressText(orEmpty(text));
    busy_ = true;
    cancellable_ = cancellable;
    interrupted_ = false;
    beforeStartWorking();
}

void ZtProgressInterface::finish() {
    busy_ = false;
    afterStopWorking();
}

void ZtProgressInterface::startWorkingNoStop(const char* text) {
    start(text, false);
}

void ZtProgressInterface::startWorking(const char* text) {
    start(text, true);
}

void ZtProgressInterface::stopWorking() {
    if (current_ == root_) {
        finish();
        return;
    }
    setProgressValueGlobal(current_->last);
    nextRange();
}

void ZtProgressInterface::setProgressValue(float value) {
    setProgressValueGlobal(current_->first + (current_->last - current_->first) * value);
}

int ZtProgressInterface::wasInterrupted() {
    return interrupted_;
}

int ZtProgressInterface::wasSuspended() {
    return 0;
}

void ZtProgressInterface::setProgressTextEx(const char* text, int a, int b) {
    ZtString result(orEmpty(text));
    result.replaceSubStr("%1", ZtString::fromInt64(a).getString());
    result.replaceSubStr("%2", ZtString::fromInt64(b).getString());
    setProgressText(result.getString());
}

float ZtProgressInterface::getProgressValue() {
    return 0.0f;
}

void ZtProgressInterface::subdivide(int n) {
    ZtDArray<float> weights;
    for (long long k = 0; k <= n; ++k)  // there is one weight more than an int may count
        weights.push(static_cast<float>(k));
    subdivide(weights);
}

void ZtProgressInterface::subdivide(ZtDArray<float>& weights) {
    const int n = weights.size();
    if (n < 2 || !(weights[n - 1] - weights[0] > 0)) {  // not a number is no span either
        weights.resize(2);
        weights[0] = 0.0f;
        weights[1] = 1.0f;
    }
    const float start = weights[0];
    const float first = current_->first;
    const float span = current_->last - first;
    const float inverse = 1.0f / (weights.last() - start);
    const auto boundAt = [&](int k) { return (weights[k] - start) * span * inverse + first; };

    Range* stages = nullptr;
    try {
        int k = weights.size() - 1;
        do {
            Range* const stage = Range::create(boundAt(k - 1), boundAt(k));
            stage->parent = current_;
            stage->next = stages;
            stages = stage;
        } while (--k > 0);
    } catch (...) {
        Range::releaseAll(stages, nullptr);
        throw;
    }
    Range::dropStages(current_);
    current_->firstStage = stages;
    enter(stages);
}

void ZtProgressInterface::undivide() {
    if (current_ == root_)
        return;
    Range* const parent = current_->parent;
    enter(enclosing());
    if (parent)
        Range::dropStages(parent);
    nextRange();
    if (current_ == root_)
        finish();
}

void ZtProgressInterface::busy() {}

void ZtProgressInterface::notBusy() {}

void ZtProgressInterface::setMinimumTime(int) {}

void ZtProgressInterface::setTitle(const char*) {}

void ZtProgressInterface::cancel() {
    interrupted_ = true;
}

void ZtProgressInterface::setProgressInfo(const char* format, ...) {
    ZtString text;
    va_list arguments;
    va_start(arguments, format);
    text.vprintf(orEmpty(format), arguments);
    va_end(arguments);
    setProgressText(text.getString());
}

void ZtProgressInterface::beforeStartWorking() {}

void ZtProgressInterface::afterStopWorking() {}

void ZtProgressInterface::setProgressValueGlobal(float) {}

void ZtProgressInterface::setProgressText(const char*) {}

void ZtProgressInterface::parentRange() {
    if (current_ != root_)
        enter(enclosing());
}

void ZtProgressInterface::nextRange() {
    if (current_->next)
        enter(current_->next);
}
