// The end of a reference-counted object.
#include <ztlib/ZtHandable.h>

ZtHandable::~ZtHandable() = default;

void ZtHandable::notifyDelete() {}

void ZtHandable::unref() const {
    if (destructionInProgress_ || --refCount_ >= 1)
        return;
    destructionInProgress_ = true;
    const_cast<ZtHandable*>(this)->notifyDelete();
    destructorCalled_ = true;
    delete this;
}
