// The base of interfaces: each holds on to its owner.
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwnerDefaultImpl.h>
#include <ztlib/ZtTypeInfo.h>

namespace {

std::uintptr_t addressOf(ZtInterfaceOwner* owner) {
    return reinterpret_cast<std::uintptr_t>(owner);
}

const ZtHandable* counted(const ZtInterfaceOwner* owner) {
    return dynamic_cast<const ZtHandable*>(owner);
}

// Deletes an owner to which there are no references.
void letGo(const ZtHandable* owner) {
    owner->ref();
    owner->unref();
}

}  // namespace

ZtInterface::ZtInterface(ZtInterfaceOwner* owner, int policy) : owner_(addressOf(owner)) {
    ZtInterfaceOwnerDefaultImpl* const own = owner ? nullptr : new ZtInterfaceOwnerDefaultImpl;
    if (own)
        owner_ = addressOf(own) | kOwn;
    try {
        this->owner()->registerInterface(this, policy);
    } catch (...) {
        if (own)
            letGo(own);
        throw;
    }
}

ZtInterface::ZtInterface(const ZtInterface& other)
    : ZtTypedObject(other), owner_(addressOf(other.owner()) | kUnregistered) {}

ZtInterface& ZtInterface::operator=(const ZtInterface& other) {
    if (owner() != other.owner()) {
        leaveOwner();
        owner_ = addressOf(other.owner()) | kUnregistered;
    }
    return *this;
}

ZtInterface::~ZtInterface() {
    if (isRegistered())
        owner()->forgetManaged(this);
    leaveOwner();
}

void ZtInterface::leaveOwner() {
    if (!isRegistered())
        return;
    owner()->forgetInterface(this);
    const ZtHandable* const own = (owner_ & kOwn) != 0 ? counted(owner()) : nullptr;
    if (own && !own->isDestructionInProgress())
        letGo(own);
}

ZtTypedObject* ZtInterface::getInterface(const ZtTypeInfo* type) const {
    return owner() ? owner()->getInterface(type) : nullptr;
}

void ZtInterface::getAllInterfaces(ZtDArray<ZtTypedObject*, 1>& interfaces) const {
    if (owner())
        owner()->getAllInterfaces(interfaces);
    else
        interfaces.clear();
}

void ZtInterface::handleObject(ZtHandable* object) {
    if (owner())
        owner()->handleObject(object);
}

void ZtInterface::manageMemory(ZtTypedObject* object) {
    if (owner())
        owner()->manageMemory(object);
}

void ZtInterface::ref() const {
    if (const ZtHandable* const object = counted(owner()))
        object->ref();
}

void ZtInterface::unref() const {
    if (const ZtHandable* const object = counted(owner()))
        object->unref();
}

const ZtTypeInfo* ZtInterface::getTypeId() const {
    return getClassTypeId();
}

ZtTypeInfo* ZtInterface::getClassTypeId() {
    static ZtTypeInfo* const type =
        new ZtTypeInfo("ZtInterface", nullptr, ZtTypedObject::getClassTypeId());
    return type;
}

void ZtInterface::initClass() {
    getClassTypeId();
}
