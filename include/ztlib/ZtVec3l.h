// ZtVec3l: a value vector of three signed 64-bit integers.
#pragma once

#include <ztlib/ZtVec3.h>

using ZtVec3l = ZtVec3<long long>;
