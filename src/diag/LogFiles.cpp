// The files of a log.
#include "diag/LogFiles.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtString.h>

#include <cerrno>

#include "platform/PlatformFile.h"
#include "platform/PlatformLocalTime.h"
#include "platform/PlatformProcess.h"

namespace logfiles {

namespace {

constexpr int kDirectoryMode = 0777;
constexpr int kSuffixLength = 4;

// The file search of some systems also finds "a.logs" where "*.log" is asked for.
bool hasLogSuffix(const ZtString& name) {
    const int length = name.length();
    return length >= kSuffixLength &&
           ZtString::strcasecmp(name.getString() + length - kSuffixLength, ".log") == 0;
}

}  // namespace

int makeDirectory(const ZtFilename& directory) {
    if (!ZtFilename::doesExist(directory)) {
        const int error = platform::makeDirectory(directory, kDirectoryMode);
        // Another process may have been quicker.
        if (error != EEXIST)
            return error;
    }
    return ZtDirectory::isDirectory(directory) ? 0 : ENOTDIR;
}

int enterDated(ZtFilename& directory, long long second) {
    const platform::LocalTime date = platform::localTime(second);
    const ZtString levels[] = {ZtString(0, "/%04d", date.year), ZtString(0, "/%02d", date.month),
                               ZtString(0, "/%02d", date.day)};
    for (const ZtString& level : levels) {
        directory += level;
        if (const int error = makeDirectory(directory))
            return error;
    }
    return 0;
}

void prune(const ZtFilename& directory, int keep) {
    ZtDArray<ZtString> names;
    ZtDirectory::scan(directory, names, "*.log");
    int count = 0;
    for (int i = 0; i < names.size(); ++i)
        count += hasLogSuffix(names[i]);
    for (int i = 0; i < names.size() && count > keep; ++i) {
        if (!hasLogSuffix(names[i]))
            continue;
        --count;
        ZtString path(0, "%s/%s", directory.getString(), names[i].getString());
        platform::removeFile(path);
        path.removeLast(kSuffixLength);
        path += ".dmp";
        platform::removeFile(path);
    }
}

ZtFilename pathFor(const ZtFilename& directory, long long second) {
    const platform::LocalTime time = platform::localTime(second);
    ZtFilename path;
    path.printf("%s/%04d%02d%02d-%02d%02d%02d-%u.log", directory.getString(), time.year, time.month,
                time.day, time.hour, time.minute, time.second, platform::processId());
    return path;
}

}  // namespace logfiles
