// The base of interfaces: capabilities that are attached to an owner.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtInterfaceOwner.h>
#include <ztlib/ZtTypedObject.h>

#include <cstdint>

class ZtTypeInfo;

/// An interface knows its owner and passes queries on to it, so that any of an object's interfaces
/// leads to all the others. Made without an owner it gets one of its own, which goes with it, or,
/// where the owner deletes the interface, when the last reference does.
///
/// A copy has the same owner, which does not know it: it is expected not to be asked when the owner
/// is gone.
class ZTLIB_API ZtInterface : public ZtTypedObject {
public:
    /// As `ZtInterfaceOwner`'s; null and no interfaces when the owner has gone.
    ZtTypedObject* getInterface(const ZtTypeInfo* type) const;
    void getAllInterfaces(ZtDArray<ZtTypedObject*, 1>& interfaces) const;
    void handleObject(ZtHandable* object);
    void manageMemory(ZtTypedObject* object);

    /// Adds a reference to an owner that counts them.
    void ref() const;
    /// Gives it back. The interface may be gone afterwards.
    void unref() const;

    /// Takes the interface off its owner's list, and lets go of an owner of its own.
    ~ZtInterface() override;

    const ZtTypeInfo* getTypeId() const override;
    /// The class's type, made on the first call; `initClass` makes it, too.
    static ZtTypeInfo* getClassTypeId();
    static void initClass();

protected:
    /// Registers the interface with the owner, or with a new one for null; with the policy
    /// `ZtInterfaceOwner::MANAGE_MEMORY` the owner deletes it.
    explicit ZtInterface(ZtInterfaceOwner* owner = nullptr,
                         int policy = ZtInterfaceOwner::STATIC_MEMORY);
    ZtInterface(const ZtInterface& other);
    /// The interface leaves the list of its old owner, which deletes it nevertheless if it manages
    /// it.
    ZtInterface& operator=(const ZtInterface& other);

private:
    friend class ZtInterfaceOwner;

    ZtInterfaceOwner* owner() const {
        return reinterpret_cast<ZtInterfaceOwner*>(owner_ & ~(kUnregistered | kOwn));
    }
    bool isRegistered() const { return owner() && (owner_ & kUnregistered) == 0; }
    void leaveOwner();

    // What is told in the lowest bits of the owner's address: that the owner does not know the
    // interface, so that it cannot tell it of its end; that it was made for the interface.
    static constexpr std::uintptr_t kUnregistered = 1;
    static constexpr std::uintptr_t kOwn = 2;

    std::uintptr_t owner_;
};
