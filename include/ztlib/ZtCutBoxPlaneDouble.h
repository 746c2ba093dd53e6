// ZtCutBoxPlaneDouble: the polygon in which a plane cuts a box, in doubles.
#pragma once

#include <ztlib/ZtCutBox.h>

using ZtCutBoxPlaneDouble = ZtCutBox<double>;
