// The standard messages of result codes.
#pragma once

namespace zt_diag {

/// Returns the message of a code, of which the low 16 bits count; null for an unknown one.
const char* standardMessage(int code);

}  // namespace zt_diag
