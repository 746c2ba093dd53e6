// ZtVec3f: a value vector of three floats.
#pragma once

#include <ztlib/ZtVec3.h>

using ZtVec3f = ZtVec3<float>;
