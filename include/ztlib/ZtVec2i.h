// ZtVec2i: a value vector of two signed 32-bit integers.
#pragma once

#include <ztlib/ZtVec2.h>

using ZtVec2i = ZtVec2<int>;
