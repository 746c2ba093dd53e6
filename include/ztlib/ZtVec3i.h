// ZtVec3i: a value vector of three signed 32-bit integers.
#pragma once

#include <ztlib/ZtVec3.h>

using ZtVec3i = ZtVec3<int>;
