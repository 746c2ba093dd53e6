// Lines from a peer that sends what and when it likes.
#pragma once

namespace zt_net {

/// Takes what has come, or waits for it: at most `most` bytes and none behind a line feed. Returns
/// their number, 0 at the end of the connection, -1 on failure. Expects a socket that blocks.
int receiveLinePart(int socket, char* buffer, int most);

/// Receives a line of up to `size` bytes, the line feed included, and a terminating zero behind
/// them, as `ZtSocket::receive` does, in at most so many milliseconds; 0 for as long as it takes.
int receiveLine(int socket, char* buffer, int size, int milliseconds);

}  // namespace zt_net
