// ZtVec3d: a value vector of three doubles.
#pragma once

#include <ztlib/ZtVec3.h>

using ZtVec3d = ZtVec3<double>;
