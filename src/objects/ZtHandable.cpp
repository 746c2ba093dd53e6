// The base of objects that are shared by counting their references.
#include <ztlib/ZtHandable.h>

ZtHandable::~ZtHandable() = default;

void ZtHandable::notifyDelete() {}

void ZtHandable::destroy() const {
    destructionInProgress_ = true;
    const_cast<ZtHandable*>(this)->notifyDelete();
    destructorCalled_ = true;
    delete this;
}
