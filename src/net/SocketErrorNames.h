// The names of the socket layer's errors.
#pragma once

namespace zt_net {

/// Returns the short name or the sentence for an error's number.
const char* socketErrorName(int code);

}  // namespace zt_net
