// Data types: names to records and what the records tell.
#include <ztlib/ZtDataType.h>

#include <cstring>

#include "typeddata/TypeRegistry.h"

namespace {

const char* orUnknown(const char* name) {
    return name ? name : TypeRegistry::unknown().name;
}

}  // namespace

ZtDataType::ZtDataType() : record_(&TypeRegistry::unknown()) {}

ZtDataType::ZtDataType(const char* name)
    : record_(&TypeRegistry::instance().intern(orUnknown(name))) {}

ZtDataType::ZtDataType(ZtPrimType type) : record_(&TypeRegistry::builtIn(type)) {}

ZtDataType& ZtDataType::operator=(const char* name) {
    return *this = ZtDataType(name);
}

bool ZtDataType::operator==(const char* name) const {
    return std::strcmp(record_->name, orUnknown(name)) == 0;
}

const char* ZtDataType::getName() const {
    return record_->name;
}

int ZtDataType::memsize() const {
    return record_->memSize;
}

bool ZtDataType::isInteger() const {
    return isMcPrimType() && asMcPrimType().isInteger();
}

bool ZtDataType::isFloat() const {
    return isMcPrimType() && asMcPrimType().isFloat();
}

bool ZtDataType::isMcPrimType() const {
    return record_->primType != Record::kNoPrimType;
}

ZtPrimType ZtDataType::asMcPrimType() const {
    return isMcPrimType() ? ZtPrimType(record_->primType) : ZtPrimType();
}

bool ZtDataType::isBasedOn(const ZtDataType& other) const {
    return record_->isRegistered && *this == other;
}

bool ZtDataType::isBasedOn(const char* name) const {
    return isBasedOn(ZtDataType(name));
}

bool ZtDataType::isKnown(const char* name) {
    return TypeRegistry::instance().find(orUnknown(name)) != nullptr;
}

void ZtDataType::registerType(const char* name, int size) {
    Record& record = TypeRegistry::instance().intern(orUnknown(name));
    if (record.isRegistered)
        return;
    record.isRegistered = true;
    record.memSize = size;
}

const char* ZtDataType::namespaceUri() {
    return ZTLIB_TYPE_NAMESPACE;
}
