// Directories by their descriptors.
#include "platform/PlatformDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "platform/posix/SystemCall.h"

namespace platform {

namespace {

// Whether a whole name matches a pattern of "*" and "?". After a mismatch only the last "*" need
// take one character more: O(name x pattern), no recursion.
bool matches(const char* name, const char* pattern) {
    const char* afterStar = nullptr;
    const char* resumed = nullptr;  // where in the name that "*" ends for now
    while (*name) {
        if (*pattern == '*') {
            afterStar = ++pattern;
            resumed = name;
        } else if (*pattern == '?' || *pattern == *name) {
            ++pattern;
            ++name;
        } else if (afterStar) {
            pattern = afterStar;
            name = ++resumed;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

// Units of 100 ns since 1601 for a time since 1970.
unsigned long long ticksOf(long long seconds, long long nanoseconds) {
    constexpr long long kFrom1601To1970 = 11644473600;
    const long long since1601 = std::max(seconds + kFrom1601To1970, 0LL);
    return static_cast<unsigned long long>(since1601) * 10000000 +
           static_cast<unsigned long long>(nanoseconds) / 100;
}

// A file that is closed in the end.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int get() const { return number_; }
    // Returns an error: some file systems tell only here what could not be written.
    int close() {
        const int result = number_ < 0 ? 0 : ::close(number_);
        number_ = -1;
        return result == 0 || errno == EINTR ? 0 : errno;
    }

private:
    int number_;
};

// Writes all that follows in one file to another.
int copyContent(int from, int to) {
    char buffer[65536];
    for (;;) {
        const ssize_t size = callSystem(Call::kReadFile, ssize_t{-1},
                                        [&] { return read(from, buffer, sizeof buffer); });
        if (size <= 0)
            return size == 0 ? 0 : errno;
        for (ssize_t done = 0; done < size;) {
            const ssize_t written = callSystem(Call::kWriteFile, ssize_t{-1}, [&] {
                return write(to, buffer + done, static_cast<std::size_t>(size - done));
            });
            if (written < 0)
                return errno;
            done += written;
        }
    }
}

}  // namespace

struct TreeCursor::State {
    // What a step up must lead back to. All but the last few descriptors are closed (-1).
    struct Level {
        int descriptor;
        dev_t device;
        ino_t inode;
    };
    static constexpr std::size_t kOpenLevels = 8;

    std::vector<Level> levels;

    int descriptor() const { return levels.back().descriptor; }

    // Takes a new descriptor over, or closes it and returns an error.
    int push(int descriptor) noexcept {
        struct stat status = {};
        int error = errorOf(Call::kExamine, [&] { return fstat(descriptor, &status); });
        if (error == 0) {
            try {
                levels.push_back({descriptor, status.st_dev, status.st_ino});
            } catch (const std::bad_alloc&) {
                error = ENOMEM;
            }
        }
        if (error != 0) {
            close(descriptor);
            return error;
        }
        if (levels.size() > kOpenLevels)
            closeLevel(levels[levels.size() - 1 - kOpenLevels]);
        return 0;
    }

    static void closeLevel(Level& level) {
        if (level.descriptor >= 0)
            close(level.descriptor);
        level.descriptor = -1;
    }

    ~State() {
        for (Level& level : levels)
            closeLevel(level);
    }
};

namespace {

// Opens a directory below another, by default no link to one; -1 if it cannot be opened.
int openDirectory(int parent, const char* name, int flags = O_RDONLY | O_NOFOLLOW) {
    return callSystem(Call::kOpenDirectory, -1,
                      [&] { return openat(parent, name, flags | O_DIRECTORY | O_CLOEXEC); });
}

// The error of an attempt to open a directory: a link is no directory.
int openError() {
    return errno == ELOOP ? ENOTDIR : errno;
}

}  // namespace

TreeCursor::~TreeCursor() {
    delete state_;
}

int TreeCursor::open(const char* path, LastLink lastLink) {
    delete state_;
    state_ = new (std::nothrow) State;
    if (!state_)
        return ENOMEM;
    const int descriptor =
        openDirectory(AT_FDCWD, path, lastLink == kFollowLink ? O_RDONLY : O_RDONLY | O_NOFOLLOW);
    return descriptor < 0 ? openError() : state_->push(descriptor);
}

bool TreeCursor::isRoot() const {
    const State::Level& here = state_->levels.back();
    struct stat parent = {};
    return errorOf(Call::kExamine, [&] { return fstatat(here.descriptor, "..", &parent, 0); }) ==
               0 &&
           parent.st_dev == here.device && parent.st_ino == here.inode;
}

bool TreeCursor::isWithin(const TreeCursor& other) const {
    const State::Level& sought = other.state_->levels.back();
    // Ancestors need not be readable, so they are opened as mere places.
    Descriptor here(openDirectory(state_->descriptor(), ".", O_PATH));
    struct stat status = {};
    struct stat below = {};
    for (;;) {
        if (here.get() < 0 || fstat(here.get(), &status) != 0)
            return true;
        if (status.st_dev == sought.device && status.st_ino == sought.inode)
            return true;
        if (status.st_dev == below.st_dev && status.st_ino == below.st_ino)
            return false;  // the root is its own parent
        below = status;
        here = Descriptor(openDirectory(here.get(), "..", O_PATH));
    }
}

int TreeCursor::mode() const {
    struct stat status = {};
    return fstat(state_->descriptor(), &status) == 0 ? static_cast<int>(status.st_mode & 0777)
                                                     : 0777;
}

int TreeCursor::enter(const char* name) {
    const int descriptor = openDirectory(state_->descriptor(), name);
    return descriptor < 0 ? openError() : state_->push(descriptor);
}

int TreeCursor::leave() {
    State::Level below = state_->levels.back();
    state_->levels.pop_back();
    State::Level& here = state_->levels.back();
    int error = 0;
    if (here.descriptor < 0) {
        // The directory below was searched on the way down, so its ".." can be looked up.
        const int descriptor = openDirectory(below.descriptor, "..");
        struct stat status = {};
        error = descriptor < 0
                    ? openError()
                    : errorOf(Call::kExamine, [&] { return fstat(descriptor, &status); });
        if (error == 0 && (status.st_dev != here.device || status.st_ino != here.inode))
            error = ENOENT;  // somebody moved the directory: the way back is gone
        here.descriptor = descriptor;
        if (error != 0)
            State::closeLevel(here);
    }
    State::closeLevel(below);
    return error;
}

int TreeCursor::makeDirectory(const char* name, int mode) const {
    return errorOf(Call::kMakeDirectory,
                   [&] { return mkdirat(state_->descriptor(), name, static_cast<mode_t>(mode)); });
}

int TreeCursor::removeFile(const char* name) const {
    return errorOf(Call::kRemoveFile, [&] { return unlinkat(state_->descriptor(), name, 0); });
}

int TreeCursor::removeDirectory(const char* name) const {
    return errorOf(Call::kRemoveDirectory,
                   [&] { return unlinkat(state_->descriptor(), name, AT_REMOVEDIR); });
}

int TreeCursor::copyFile(const char* name, const TreeCursor& target) const {
    // Without waiting for the other end, should it be a pipe by now.
    const auto openFile = [&](const TreeCursor& directory, int flags, mode_t mode) {
        return callSystem(Call::kOpenFile, -1, [&] {
            return openat(directory.state_->descriptor(), name,
                          flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, mode);
        });
    };
    Descriptor source(openFile(*this, O_RDONLY, 0));
    struct stat status = {};
    if (source.get() < 0 || fstat(source.get(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return EINVAL;
    // What is there is not written to, but gives its name away: it may be this very file.
    const int gone = target.removeFile(name);
    if (gone != 0 && gone != ENOENT)
        return gone;
    Descriptor copy(openFile(target, O_WRONLY | O_CREAT | O_EXCL, status.st_mode & 0777));
    if (copy.get() < 0)
        return errno;
    int error = copyContent(source.get(), copy.get());
    const int closeError = copy.close();
    if (error == 0)
        error = closeError;
    if (error != 0)
        target.removeFile(name);  // half a file helps nobody
    return error;
}

int TreeCursor::copyLink(const char* name, const TreeCursor& target) const {
    char leadsTo[PATH_MAX + 1];
    const ssize_t length = readlinkat(state_->descriptor(), name, leadsTo, sizeof leadsTo - 1);
    if (length < 0)
        return errno;
    leadsTo[length] = '\0';
    const int gone = target.removeFile(name);
    if (gone != 0 && gone != ENOENT)
        return gone;
    return errorOf(Call::kOpenFile,
                   [&] { return symlinkat(leadsTo, target.state_->descriptor(), name); });
}

struct DirectorySearch::State {
    DIR* directory;
    const char* pattern;
    const dirent* entry;

    int descriptor() const { return dirfd(directory); }
};

DirectorySearch::DirectorySearch(const char* directory, const char* pattern)
    : state_(new (std::nothrow) State{nullptr, pattern, nullptr}) {
    if (state_)
        state_->directory = callSystem(Call::kOpenDirectory, static_cast<DIR*>(nullptr),
                                       [&] { return opendir(directory); });
    if (!state_ || !state_->directory)
        error_ = state_ ? errno : ENOMEM;
}

DirectorySearch::DirectorySearch(const TreeCursor& directory)
    : state_(new (std::nothrow) State{nullptr, "*", nullptr}) {
    if (!state_) {
        error_ = ENOMEM;
        return;
    }
    // Not by ".", which a directory that may be read but not searched does not give.
    const int copy = callSystem(Call::kOpenDirectory, -1, [&] {
        return fcntl(directory.state_->descriptor(), F_DUPFD_CLOEXEC, 0);
    });
    state_->directory = copy < 0 ? nullptr : fdopendir(copy);
    if (!state_->directory) {
        error_ = errno;
        if (copy >= 0)
            close(copy);
        return;
    }
    rewinddir(state_->directory);  // copies of a descriptor share their position
}

DirectorySearch::~DirectorySearch() {
    if (state_ && state_->directory)
        closedir(state_->directory);
    delete state_;
}

bool DirectorySearch::next() {
    if (error_ != 0)
        return false;
    do {
        // A null pointer is the end, too, which leaves no error behind.
        state_->entry = callSystem(Call::kReadDirectory, static_cast<dirent*>(nullptr),
                                   [&] { return readdir(state_->directory); });
        if (!state_->entry) {
            error_ = errno;
            return false;
        }
    } while (!matches(name(), state_->pattern));
    return true;
}

const char* DirectorySearch::name() const {
    return state_->entry->d_name;
}

EntryKind DirectorySearch::kind() const {
    switch (state_->entry->d_type) {
        case DT_DIR:
            return EntryKind::kDirectory;
        case DT_REG:
            return EntryKind::kFile;
        case DT_LNK:
            return EntryKind::kLink;
        case DT_UNKNOWN:
            break;  // not every file system tells
        default:
            return EntryKind::kOther;
    }
    struct stat status = {};
    const int error = errorOf(Call::kExamine, [&] {
        return fstatat(state_->descriptor(), name(), &status, AT_SYMLINK_NOFOLLOW);
    });
    return error != 0 ? EntryKind::kMissing : kindOfMode(status.st_mode);
}

bool DirectorySearch::leadsToDirectory() const {
    const EntryKind own = kind();
    if (own != EntryKind::kLink)
        return own == EntryKind::kDirectory;
    struct stat status = {};
    return errorOf(Call::kExamine,
                   [&] { return fstatat(state_->descriptor(), name(), &status, 0); }) == 0 &&
           S_ISDIR(status.st_mode);
}

unsigned long long DirectorySearch::creationTime() const {
    struct statx status = {};
    const int error = errorOf(Call::kExamine, [&] {
        return statx(state_->descriptor(), name(), AT_SYMLINK_NOFOLLOW,
                     STATX_BTIME | STATX_MTIME | STATX_CTIME, &status);
    });
    if (error != 0)
        return 0;
    const auto ticks = [](const statx_timestamp& time) {
        return ticksOf(time.tv_sec, time.tv_nsec);
    };
    return status.stx_mask & STATX_BTIME
               ? ticks(status.stx_btime)
               : std::min(ticks(status.stx_mtime), ticks(status.stx_ctime));
}

}  // namespace platform
