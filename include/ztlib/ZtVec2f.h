// ZtVec2f: a value vector of two floats.
#pragma once

#include <ztlib/ZtVec2.h>

using ZtVec2f = ZtVec2<float>;
