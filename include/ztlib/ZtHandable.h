// The base of intrusively reference-counted objects.
#pragma once

#include <ztlib/ZtExport.h>

/// An object that counts the references to it and deletes itself when the last one is given up.
/// A new object, a copy included, has the count 0; a `ZtHandle` counts for its holder. An object
/// whose count never rose above 0 is deleted by an explicit delete or by `unref`. Counts are plain
/// integers: threads that share an object lock outside.
class ZTLIB_API ZtHandable {
public:
    /// Adds a reference, unless destruction is in progress.
    void ref() const {
        if (!destructionInProgress_)
            ++refCount_;
    }

    /// Gives up a reference; when fewer than one is left, tells the object by `notifyDelete` and
    /// deletes it. Does nothing while destruction is in progress.
    void unref() const;

    /// Gives up a reference without ever deleting: the caller takes over the object.
    void unrefNoDelete() const {
        if (!destructionInProgress_)
            --refCount_;
    }

    /// Whether the last reference is gone: true from just before `notifyDelete`.
    bool isDestructionInProgress() const { return destructionInProgress_; }

    /// Whether the destructor runs.
    bool isDestructorCalled() const { return destructorCalled_; }

protected:
    ZtHandable() {}
    ZtHandable(const ZtHandable&) {}
    /// Count and flags belong to the object, not to its value.
    ZtHandable& operator=(const ZtHandable&) { return *this; }
    virtual ~ZtHandable();

    /// Called before the destructor, with the object whole; `ref` and `unref` change nothing then.
    virtual void notifyDelete();

private:
    mutable int refCount_ = 0;
    mutable bool destructionInProgress_ = false;
    mutable bool destructorCalled_ = false;
};
