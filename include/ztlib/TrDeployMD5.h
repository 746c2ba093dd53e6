// An MD5 digest as a key: the sixteen bytes, nothing more.
#pragma once

namespace TrDeploy {

/// A digest in the order in which it is written: byte 0 is the first pair of hexadecimal digits.
struct MD5 {
    /// The sum, first byte first.
    unsigned char digest[16];
};

}  // namespace TrDeploy
