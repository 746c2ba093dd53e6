// Results for errors of the system.
#pragma once

#include <ztlib/ZtResult.h>

/// Returns the constant for a number of <cerrno>, whatever this system numbers it: `ZtOK` for 0,
/// `ZtINTERNALERROR` for one that has none.
const ZtResult& systemResult(int error);
