// Objects that are edited interactively, and those that want to know.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>

class ZtEditable;

/// Is told when the edits of the objects at which it is registered start and finish: a view can
/// hold back expensive updates until an edit is over. Owned by nobody here; a listener that goes
/// before the object takes itself off its list first.
class ZTLIB_API ZtEditingListener {
public:
    /// Editing has begun, and has ended.
    virtual void editingStarted(ZtEditable* object) = 0;
    /// The object's flags are still those of the edit.
    virtual void editingFinished(ZtEditable* object) = 0;

protected:
    ~ZtEditingListener() = default;
};

/// A mix-in for objects that an editor changes over some time: while an edit is in progress its
/// flags say which aspects are being changed, in bits that the object's class defines. Listeners
/// are notified in the order of their list, by index: one that takes itself off while it is told
/// hides the next one from this round, and one that is added is told in the same round. One thread
/// at a time.
class ZTLIB_API ZtEditable {
public:
    ZtEditable() = default;
    /// A copy is in the same edit and has the same listeners, which hear of neither.
    ZtEditable(const ZtEditable& other);
    ZtEditable& operator=(const ZtEditable& other);

    /// Makes the flags those of this edit, in place of any before, and tells the listeners.
    virtual void startEditing(int flags);
    /// Tells the listeners and then clears the flags.
    virtual void finishEditing();

    /// Whether some bit of the mask is set in the flags.
    virtual bool isEdited(int mask) const;
    /// Whether every bit of the mask is set in the flags; true for 0.
    virtual bool isAllEdited(int mask) const;
    virtual int getEditingFlags() const;

    /// Tells no one, and deletes no listener.
    virtual ~ZtEditable();

    /// Appends the listener; one that is added twice is told twice. Null is never told.
    void addEditingListener(ZtEditingListener* listener);
    /// Takes the listener's first entry off the list, if there is one.
    void removeEditingListener(ZtEditingListener* listener);

private:
    void tell(void (ZtEditingListener::*event)(ZtEditable*));

    int flags_ = 0;
    ZtDArray<ZtEditingListener*, 1> listeners_;
};
