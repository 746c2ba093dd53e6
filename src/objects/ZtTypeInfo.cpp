// The record of a run-time type, and the registry that finds it by name.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtTypeInfo.h>

#include <algorithm>
#include <cstring>

namespace {

typedef ZtDArray<ZtTypeInfo*> Types;

/// All types, sorted by name. Never destroyed: static types leave it while the process ends.
Types& allTypes() {
    static Types& types = *new Types;
    return types;
}

/// Returns the index after the last type whose name is not greater.
int indexAfter(const char* name) {
    const Types& types = allTypes();
    const auto* const after = std::upper_bound(
        types.begin(), types.end(), name,
        [](const char* key, ZtTypeInfo* type) { return std::strcmp(key, type->getName()) < 0; });
    return static_cast<int>(after - types.begin());
}

/// Returns the index of a type of that name, -1 if there is none.
int indexOf(const char* name) {
    const int last = name ? indexAfter(name) - 1 : -1;
    return last >= 0 && std::strcmp(allTypes()[last]->getName(), name) == 0 ? last : -1;
}

}  // namespace

ZtTypeInfo::ZtTypeInfo(const char* name, Factory factory, const ZtTypeInfo* parent1,
                       const ZtTypeInfo* parent2)
    : name_(name ? name : ""), factory_(factory), parent1_(parent1), parent2_(parent2) {
    allTypes().insert(indexAfter(name_), this);
}

ZtTypeInfo::~ZtTypeInfo() {
    // By identity, among others of the same name; it may have been taken out before.
    Types& types = allTypes();
    for (int i = indexAfter(name_) - 1; i >= 0 && std::strcmp(types[i]->getName(), name_) == 0; --i)
        if (types[i] == this) {
            types.remove(i);
            return;
        }
}

ZtTypeInfo* ZtTypeInfo::getParent(int index) const {
    return const_cast<ZtTypeInfo*>(index == 0 ? parent1_ : index == 1 ? parent2_ : nullptr);
}

ZtTypeInfo* ZtTypeInfo::fromName(const char* name) {
    const int index = indexOf(name);
    return index < 0 ? nullptr : allTypes()[index];
}

void ZtTypeInfo::removeType(const char* name) {
    const int index = indexOf(name);
    if (index >= 0)
        allTypes().remove(index);
}
