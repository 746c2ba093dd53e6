// Objects that carry interfaces: the lists of what they carry and of what they own.
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwner.h>
#include <ztlib/ZtTypeInfo.h>

#include <utility>

namespace {

template <class Objects>
void removeAll(Objects& objects, ZtTypedObject* object) {
    for (int i = objects.size() - 1; i >= 0; --i)
        if (objects[i] == object)
            objects.remove(i);
}

}  // namespace

ZtInterfaceOwner::ZtInterfaceOwner() = default;

ZtInterfaceOwner::~ZtInterfaceOwner() {
    leaveInterfaces(true);
}

void ZtInterfaceOwner::registerInterfaceStaticMemory(ZtTypedObject* object) {
    registerInterface(object, STATIC_MEMORY);
}

void ZtInterfaceOwner::registerInterfaceManageMemory(ZtTypedObject* object) {
    registerInterface(object, MANAGE_MEMORY);
}

void ZtInterfaceOwner::registerInterface(ZtTypedObject* object, int policy) {
    interfaces_.push(object);
    if (policy != MANAGE_MEMORY)
        return;
    try {
        manageMemory(object);
    } catch (...) {
        interfaces_.removeLast();
        throw;
    }
}

void ZtInterfaceOwner::manageMemory(ZtTypedObject* object) {
    managed_.push(object);
}

void ZtInterfaceOwner::handleObject(ZtHandable* object) {
    handled_.push(ZtHandle<ZtHandable>(object));
}

ZtTypedObject* ZtInterfaceOwner::getInterface(const ZtTypeInfo* type) const {
    attachOnce();
    if (!type)
        return nullptr;
    for (int i = interfaces_.size() - 1; i >= 0; --i)
        if (interfaces_[i] && interfaces_[i]->getTypeId()->isOfType(type))
            return interfaces_[i];
    return isOfType(type) ? const_cast<ZtInterfaceOwner*>(this) : nullptr;
}

void ZtInterfaceOwner::getAllInterfaces(ZtDArray<ZtTypedObject*, 1>& interfaces) const {
    attachOnce();
    interfaces = interfaces_;
}

void ZtInterfaceOwner::registerAttachInterfacesOnceCB(void (*callback)(void*), void* data) {
    attach_ = callback;
    attachData_ = data;
}

void ZtInterfaceOwner::attachOnce() const {
    if (auto* const callback = std::exchange(attach_, nullptr))
        callback(attachData_);
}

void ZtInterfaceOwner::notifyDelete() {
    leaveInterfaces(false);
    while (managed_.size() > 0) {
        ZtTypedObject* const object = managed_.last();
        removeAll(managed_, object);
        delete object;
    }
    ZtDArray<ZtHandle<ZtHandable>, 1> handled;
    handled.swapWith(handled_);  // those that go may look at the owner
}

void ZtInterfaceOwner::forgetInterface(ZtTypedObject* object) {
    removeAll(interfaces_, object);
}

void ZtInterfaceOwner::forgetManaged(ZtTypedObject* object) {
    removeAll(managed_, object);
}

// Empties the list; interfaces that live on learn that their owner has gone. Those that are about
// to be deleted may still ask it.
void ZtInterfaceOwner::leaveInterfaces(bool managedToo) {
    ZtDArray<ZtTypedObject*, 1> left;
    left.swapWith(interfaces_);
    for (int i = 0; i < left.size(); ++i) {
        auto* const interface = dynamic_cast<ZtInterface*>(left[i]);
        if (interface && interface->owner() == this && (managedToo || managed_.index(left[i]) < 0))
            interface->owner_ = 0;
    }
}

const ZtTypeInfo* ZtInterfaceOwner::getTypeId() const {
    return getClassTypeId();
}

ZtTypeInfo* ZtInterfaceOwner::getClassTypeId() {
    static ZtTypeInfo* const type =
        new ZtTypeInfo("ZtInterfaceOwner", nullptr, ZtTypedObject::getClassTypeId());
    return type;
}

void ZtInterfaceOwner::initClass() {
    getClassTypeId();
}
