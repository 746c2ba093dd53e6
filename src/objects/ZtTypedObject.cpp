// The base of objects that know their type at run time.
#include <ztlib/ZtTypeInfo.h>
#include <ztlib/ZtTypedObject.h>

const ZtTypeInfo* ZtTypedObject::getTypeId() const {
    return getClassTypeId();
}

ZtTypedObject::~ZtTypedObject() = default;

ZtTypeInfo* ZtTypedObject::getClassTypeId() {
    // Never destroyed: derived types refer to it while the process ends.
    static ZtTypeInfo* const type = new ZtTypeInfo("ZtTypedObject");
    return type;
}

void ZtTypedObject::initClass() {
    getClassTypeId();
}

bool ZtTypedObject::isOfType(const ZtTypeInfo* type) const {
    return getTypeId()->isOfType(type);
}
