// The base of objects that are shared by counting their references.
#pragma once

#include <ztlib/ZtExport.h>

/// An object that deletes itself when its last reference goes. The count starts at 0: the first
/// `ref` takes the object over, and until then it may stand on the stack or be deleted. Use it
/// through `ZtHandle`. Counts are plain numbers: objects that threads share need outside locking.
///
/// On the way out, `notifyDelete` is called first, then the destructor runs; from then on `ref` and
/// `unref` change nothing, so that nobody deletes the object twice.
class ZTLIB_API ZtHandable {
public:
    /// Adds a reference.
    void ref() const {
        if (!destructionInProgress_)
            ++count_;
    }

    /// Gives a reference back and deletes the object when none is left; also an object that never
    /// had one.
    void unref() const {
        if (!destructionInProgress_ && --count_ < 1)
            destroy();
    }

    /// Gives a reference back without deleting the object: it is the caller's again.
    void unrefNoDelete() const {
        if (!destructionInProgress_)
            --count_;
    }

    /// Whether the last reference has gone: true from just before `notifyDelete` on.
    bool isDestructionInProgress() const { return destructionInProgress_; }

    /// Whether the destructor is about to run or runs.
    bool isDestructorCalled() const { return destructorCalled_; }

protected:
    ZtHandable() = default;
    /// References are to the object, not to its value: a copy starts without any, and assignment
    /// leaves them as they are.
    ZtHandable(const ZtHandable&) {}
    ZtHandable& operator=(const ZtHandable&) { return *this; }
    virtual ~ZtHandable();

    /// Tells the object that it is about to be deleted; it is still whole. Does nothing here.
    virtual void notifyDelete();

private:
    void destroy() const;

    mutable int count_ = 0;
    mutable bool destructionInProgress_ = false;
    mutable bool destructorCalled_ = false;
};
