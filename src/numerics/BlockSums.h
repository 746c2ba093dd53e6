// The sums of an alignment, over blocks of pairs.
#pragma once

#include "numerics/PointPairs.h"

namespace numerics {

/// Adds the pairs of as many whole blocks as there are, in order, where the processor can do that
/// faster than pair by pair. Returns the number of pairs that were added.
int addBlocks(const CentredPairs<false, 0>& centred, OuterProducts& sums);

/// The sums of r q and of r r over pairs of points, r being p turned. Their ratio is the scale.
struct ScaleSums {
    float rq = 0;
    float rr = 0;
};

/// The same, each pair's products added up beforehand. `rows` is the rotation.
int addBlocks(const CentredPairs<false, 0>& centred, const Four (&rows)[3], ScaleSums& sums);

}  // namespace numerics
