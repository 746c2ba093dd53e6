// Objects that carry interfaces: capabilities that others attach to them.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtTypedObject.h>

class ZtInterface;
class ZtTypeInfo;

/// An object with a list of interfaces, each a typed object that adds a capability: a client asks
/// for one by its run-time type and gets the one that was registered last. The owner can also keep
/// other objects alive or delete them with itself, and can put off making its interfaces until
/// somebody asks.
///
/// A derived class calls `notifyDelete` on its way out, while the object is whole; without that,
/// managed objects are not deleted. Interfaces derived from `ZtInterface` may go before or after
/// their owner; others are expected to outlive it. One thread at a time.
class ZTLIB_API ZtInterfaceOwner : public ZtTypedObject {
public:
    /// What becomes of a registered interface when the owner goes.
    enum MemoryPolicy {
        STATIC_MEMORY = 0,  ///< the object stays the caller's, as for any number but 1
        MANAGE_MEMORY = 1   ///< the owner deletes the object
    };

    /// Registers an interface that stays the caller's.
    void registerInterfaceStaticMemory(ZtTypedObject* object);
    /// Registers an interface that the owner deletes.
    void registerInterfaceManageMemory(ZtTypedObject* object);
    /// Registers an interface and treats it as the `MemoryPolicy` says.
    void registerInterface(ZtTypedObject* object, int policy);

    /// Takes an object over, to delete it with the owner, once however often it was handed over.
    void manageMemory(ZtTypedObject* object);
    /// Holds a reference to an object as long as the owner lives.
    void handleObject(ZtHandable* object);

    /// Returns the interface of that type, or of one derived from it, that was registered last;
    /// else the owner itself if it is of the type; else null, as for a null type. O(interfaces).
    ZtTypedObject* getInterface(const ZtTypeInfo* type) const;
    /// Replaces the array's content by the interfaces, in the order of their registration. The
    /// owner is not among them.
    void getAllInterfaces(ZtDArray<ZtTypedObject*, 1>& interfaces) const;

    ~ZtInterfaceOwner() override;

    const ZtTypeInfo* getTypeId() const override;
    /// The class's type, made on the first call; `initClass` makes it, too.
    static ZtTypeInfo* getClassTypeId();
    static void initClass();

protected:
    ZtInterfaceOwner();
    // Interfaces and what is owned belong to one object: there are no copies.
    ZtInterfaceOwner(const ZtInterfaceOwner&) = delete;
    ZtInterfaceOwner& operator=(const ZtInterfaceOwner&) = delete;

    /// Sets what makes the interfaces: `callback(data)` runs once, before the next query is
    /// answered; queries that it makes itself see what is there so far. Replaces any earlier one.
    void registerAttachInterfacesOnceCB(void (*callback)(void*), void* data);

    /// Forgets the interfaces, deletes the managed objects, those handed over last first, and
    /// releases the handled ones.
    virtual void notifyDelete();

private:
    friend class ZtInterface;

    void attachOnce() const;
    void forgetInterface(ZtTypedObject* object);
    void forgetManaged(ZtTypedObject* object);
    void leaveInterfaces(bool managedToo);

    ZtDArray<ZtTypedObject*, 1> interfaces_;
    ZtDArray<ZtHandle<ZtHandable>, 1> handled_;
    ZtDArray<ZtTypedObject*, 1> managed_;
    mutable void (*attach_)(void*) = nullptr;
    mutable void* attachData_ = nullptr;
};
