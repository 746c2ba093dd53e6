// The smart pointer over objects that count their references.
#pragma once

#include <ztlib/ZtContract.h>

/// A pointer to a `ZtHandable` that holds a reference to it for as long as it lives; null holds
/// nothing. It converts to the plain pointer, and is compared as one.
template <class T>
class ZtHandle {
public:
    /// Counts the object once more; null for none.
    ZtHandle(T* object = nullptr) : object_(object) {
        if (object_)
            object_->ref();
    }
    ZtHandle(const ZtHandle& other) : ZtHandle(other.object_) {}
    ZtHandle(ZtHandle&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }

    /// Gives the reference back, which deletes the object if it was the last.
    virtual ~ZtHandle() { give(nullptr); }

    /// Counts the new object before the old one's reference is given back.
    ZtHandle& operator=(T* object) {
        // The new one first: it may be the old one, or be kept alive by it alone.
        if (object)
            object->ref();
        give(object);
        return *this;
    }
    ZtHandle& operator=(const ZtHandle& other) { return *this = other.object_; }
    // What was held may be destroyed by code of its own, which may throw.
    ZtHandle& operator=(ZtHandle&& other) {  // NOLINT(performance-noexcept-move-constructor)
        T* const object = other.object_;
        other.object_ = nullptr;
        give(object);
        return *this;
    }

    /// The object, null when there is none; `->` and `*` expect one.
    T* getPtr() const { return object_; }
    operator T*() const { return object_; }
    T* operator->() const {
        ZT_REQUIRE(object_ != nullptr);
        return object_;
    }
    T& operator*() const {
        ZT_REQUIRE(object_ != nullptr);
        return *object_;
    }

private:
    /// Puts `object` in the place of the old one, whose destructor may look at this handle.
    void give(T* object) {
        T* const old = object_;
        object_ = object;
        if (old)
            old->unref();
    }

    T* object_;
};
