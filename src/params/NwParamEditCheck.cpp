// The default policy of editing: what the flags say.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParamEditCheck.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtContract.h>

namespace {

int allows(const NwParamBase* node, int flag) {
    ZT_REQUIRE(node != nullptr);
    return node->flag(flag) == 0;
}

}  // namespace

NwParamEditCheck::~NwParamEditCheck() = default;

int NwParamEditCheck::checkRename(NwParamBase* node, const char*) {
    return allows(node, NwParamBase::kKeepName);
}

int NwParamEditCheck::checkDelete(NwParamBase* node) {
    return allows(node, NwParamBase::kKeep);
}

int NwParamEditCheck::checkInsertBundle(NwParamBundle* bundle, const char*) {
    return allows(bundle, NwParamBase::kNoNewBundles);
}

int NwParamEditCheck::checkInsertParam(NwParamBundle* bundle, const char*) {
    return allows(bundle, NwParamBase::kNoNewParams);
}

int NwParamEditCheck::checkSetValue(NwParameter* parameter, const char*) {
    return allows(parameter, NwParamBase::kKeepValue);
}

NwParamEditCheck* NwParamEditCheck::defaultEditCheck() {
    static NwParamEditCheck* const check = new NwParamEditCheck;
    return check;
}
