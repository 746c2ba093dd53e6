// The request line of the file server.
#pragma once

namespace zt_net {

/// Whether a text begins with another, in ASCII letters of any case.
bool startsWith(const char* text, const char* start);

/// Finds the path in a request that starts with "GET ": what stands behind that, up to " HTTP",
/// with its escapes decoded, and without what stands before a drive. Changes the request and
/// returns where the path begins in it.
char* takePath(char* request);

/// Returns what stands behind the last point of a path; null without a point.
const char* extensionOf(const char* path);

/// Removes the first "cgi-bin" from a path, and a slash before it.
void removeCgiBin(char* path);

}  // namespace zt_net
