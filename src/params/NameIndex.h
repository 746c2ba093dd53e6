// Finds parameters of a bundle by name while many are inserted in replace mode.
#pragma once

#include <ztlib/NwParamBundle.h>
#include <ztlib/ZtDArray.h>

#include "params/ParamNames.h"

/// The names of a bundle's parameters in a hash table, which says what a search from the first
/// parameter on would find, in constant time. Positions are those among the parameters. It follows
/// the parameters that are inserted with it; other changes of the list end its use.
class NameIndex {
public:
    /// Indexes the parameters that there are, and makes room for so many more. O(size).
    NameIndex(const NwParamBundle& bundle, int more);

    /// The position of the first parameter whose name the key matches, else -1.
    int find(paramnames::Key key) const;

    /// Takes in the parameter at a position after all others.
    void add(int position);

private:
    const char* nameAt(int position) const {
        return bundle_[bundle_.nBundles() + position]->name();
    }
    int slotOf(const char* name) const;

    const NwParamBundle& bundle_;
    ZtDArray<int> slots_;  // position + 1, 0 where there is none; their number is a power of 2
};
