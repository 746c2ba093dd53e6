// What the library needs to know of its process.
#pragma once

namespace platform {

unsigned processId();

}  // namespace platform
