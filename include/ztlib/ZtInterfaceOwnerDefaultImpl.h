// The owner of interfaces that were made without one.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtInterfaceOwner.h>

/// An owner that lives by its references: the last `unref` releases what it holds and deletes it.
class ZTLIB_API ZtInterfaceOwnerDefaultImpl : public ZtInterfaceOwner, public ZtHandable {
public:
    ZtInterfaceOwnerDefaultImpl();

protected:
    ~ZtInterfaceOwnerDefaultImpl() override;
    void notifyDelete() override;
};
