// How two nodes lie to one another in a tree of parameters.
#pragma once

#include <ztlib/NwParamBase.h>
#include <ztlib/NwParamBundle.h>

namespace paramtree {

/// Whether `node` is `top` or lies somewhere in it. O(depth), unless `top` is empty.
inline bool contains(const NwParamBase& top, const NwParamBase& node) {
    if (&top == &node)
        return true;
    if (!top.isBundle() || static_cast<const NwParamBundle&>(top).size() == 0)
        return false;
    const NwParamBase* at = &node;
    while (at != nullptr && at != &top)
        at = at->owner();
    return at != nullptr;
}

/// Whether one of the two lies in the other or is it.
inline bool areRelated(const NwParamBase& a, const NwParamBase& b) {
    return contains(a, b) || contains(b, a);
}

}  // namespace paramtree
