// ZtCutBoxPlane: the polygon in which a plane cuts a box, in floats.
#pragma once

#include <ztlib/ZtCutBox.h>

using ZtCutBoxPlane = ZtCutBox<float>;
