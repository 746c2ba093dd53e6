// ZtVec4f: a value vector of four floats.
#pragma once

#include <ztlib/ZtVec4.h>

using ZtVec4f = ZtVec4<float>;
