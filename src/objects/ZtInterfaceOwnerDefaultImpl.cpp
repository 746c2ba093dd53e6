// The owner of interfaces that were made without one.
#include <ztlib/ZtInterfaceOwnerDefaultImpl.h>

ZtInterfaceOwnerDefaultImpl::ZtInterfaceOwnerDefaultImpl() = default;

ZtInterfaceOwnerDefaultImpl::~ZtInterfaceOwnerDefaultImpl() = default;

void ZtInterfaceOwnerDefaultImpl::notifyDelete() {
    ZtInterfaceOwner::notifyDelete();
}
