// Objects that are edited interactively: the flags of the edit and the list of listeners.
#include <ztlib/ZtEditable.h>

ZtEditable::ZtEditable(const ZtEditable& other) = default;

ZtEditable& ZtEditable::operator=(const ZtEditable& other) = default;

ZtEditable::~ZtEditable() = default;

void ZtEditable::startEditing(int flags) {
    flags_ = flags;
    tell(&ZtEditingListener::editingStarted);
}

void ZtEditable::finishEditing() {
    tell(&ZtEditingListener::editingFinished);
    flags_ = 0;
}

bool ZtEditable::isEdited(int mask) const {
    return (flags_ & mask) != 0;
}

bool ZtEditable::isAllEdited(int mask) const {
    return (flags_ & mask) == mask;
}

int ZtEditable::getEditingFlags() const {
    return flags_;
}

void ZtEditable::addEditingListener(ZtEditingListener* listener) {
    listeners_.push(listener);
}

void ZtEditable::removeEditingListener(ZtEditingListener* listener) {
    const int index = listeners_.index(listener);
    if (index >= 0)
        listeners_.remove(index);
}

void ZtEditable::tell(void (ZtEditingListener::*event)(ZtEditable*)) {
    for (int i = 0; i < listeners_.size(); ++i)  // listeners change the list
        if (listeners_[i])
            (listeners_[i]->*event)(this);
}
