// The files of a log: their directory, their names and how many of them stay.
#pragma once

#include <ztlib/ZtFilename.h>

namespace logfiles {

/// Makes sure that the directory exists, without those above it; returns a number of <cerrno>, 0
/// when it does.
int makeDirectory(const ZtFilename& directory);

/// Appends the directories of the year, the month and the day to the path and makes them, as far as
/// they are missing; returns a number of <cerrno>.
int enterDated(ZtFilename& directory, long long second);

/// Deletes the first log files of the directory, in the order of their names, so that `keep` stay,
/// and the crash dumps of the same names. What cannot be deleted stays.
void prune(const ZtFilename& directory, int keep);

/// The path of a log file of this process.
ZtFilename pathFor(const ZtFilename& directory, long long second);

}  // namespace logfiles
