// The two ways in which a run ends badly; each text is the one line that the user gets to see.
#pragma once

#include <stdexcept>

namespace ztlabel {

/// The work failed: a file, the memory, the machine. Exit status 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The call was wrong: an option, an argument, their combination. Exit status 2.
struct CallError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace ztlabel
