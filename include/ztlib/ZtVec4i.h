// ZtVec4i: a value vector of four signed 32-bit integers.
#pragma once

#include <ztlib/ZtVec4.h>

using ZtVec4i = ZtVec4<int>;
