// The common part of parameters and bundles: name, owner, flags, change marks.
#include <ztlib/NwParamBase.h>
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/ZtMemory.h>

#include "params/ParamNames.h"

NwParamBase::NwParamBase(Type kind, const char* name)
    : kind_(static_cast<unsigned char>(kind)), name_(paramnames::copyOf(name)) {}

NwParamBase::NwParamBase(const NwParamBase& other)
    : kind_(other.kind_),
      marks_(other.marks_),
      flags_(other.flags_),
      name_(paramnames::copyOf(other.name_)) {}

NwParamBase& NwParamBase::operator=(const NwParamBase& other) {
    setName(other.name_);
    flags_ = other.flags_;
    marks_ = 0;
    return *this;
}

NwParamBase::~NwParamBase() {
    if (owner_ != nullptr)
        owner_->detach(this);
    ztfree(name_);
}

void NwParamBase::setFlag(int mask, int on) {
    flags_ = static_cast<unsigned short>(on != 0 ? flags_ | mask : flags_ & ~mask);
}

void NwParamBase::touch(int bits) {
    for (NwParamBase* node = this; node != nullptr && bits != 0; node = node->owner_) {
        node->marks_ = static_cast<unsigned char>(node->marks_ | bits | kTouched);
        const int below =
            (bits & kChangedOther ? kChangedOtherBelow : 0) | (bits & kChanged ? kChangedBelow : 0);
        bits = (bits & ~(kChangedOther | kChanged)) | below;
    }
}

void NwParamBase::untouch(int mask) {
    marks_ = static_cast<unsigned char>(marks_ & ~mask);
}

void NwParamBase::setName(const char* name) {
    char* const copy = paramnames::copyOf(name);  // first: it may be a part of the old one
    ztfree(name_);
    name_ = copy;
    if (owner_ != nullptr)
        owner_->isSorted_ = 0;
}

NwParamEditCheck* NwParamBase::editCheck() const {
    for (const NwParamBase* node = this; node != nullptr; node = node->owner_)
        if (node->editCheck_ != nullptr)
            return node->editCheck_;
    return NwParamEditCheck::defaultEditCheck();
}
