// The sums whose ratio is the scale of an alignment.
#pragma once

#include "numerics/PointPairs.h"

namespace numerics {

/// The sums of r q and of r r over pairs of points, r being p turned.
struct ScaleSums {
    float rq = 0;
    float rr = 0;
};

/// Adds the pairs of as many whole blocks as there are, in order, each pair's products added up
/// beforehand, where the processor can do that faster than pair by pair. `rows` is the rotation.
/// Returns the number of pairs that were added.
int addBlocks(const CentredPairs<false, 0>& centred, const Four (&rows)[3], ScaleSums& sums);

}  // namespace numerics
