// Directories by their paths: the system's calls have no other way to name an entry.
#include "platform/PlatformDirectory.h"

#include <windows.h>

#include <cerrno>
#include <new>
#include <string>

#include "platform/win32/WidePath.h"

namespace platform {

struct TreeCursor::State {
    std::string path;

    // Makes a call on the path of an entry.
    template <class Operation>
    int callOn(Call call, const char* name, Operation operation) const {
        try {
            return errorOf(call, WidePath((path + '/' + name).c_str()), operation);
        } catch (const std::bad_alloc&) {
            return ENOMEM;
        }
    }
};

namespace {

// Whether a path names a directory, and no link to one.
bool isRealDirectory(const wchar_t* path) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(path, &data);
    if (search == INVALID_HANDLE_VALUE)
        return false;
    FindClose(search);
    SetLastError(ERROR_DIRECTORY);
    return kindOfAttributes(data.dwFileAttributes, data.dwReserved0) == EntryKind::kDirectory;
}

}  // namespace

TreeCursor::~TreeCursor() {
    delete state_;
}

int TreeCursor::open(const char* path) {
    delete state_;
    state_ = new (std::nothrow) State;
    if (!state_)
        return ENOMEM;
    try {
        state_->path = path;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    return errorOf(Call::kOpenDirectory, WidePath(path),
                   [&](const wchar_t* name) { return isRoot() || isRealDirectory(name); });
}

bool TreeCursor::isRoot() const {
    const WidePath path(state_->path.c_str());
    wchar_t full[8];
    if (!path.get())
        return false;
    const DWORD length = GetFullPathNameW(path.get(), 8, full, nullptr);
    return length == 3 && full[1] == L':';
}

int TreeCursor::enter(const char* name) {
    const int error = state_->callOn(Call::kOpenDirectory, name, isRealDirectory);
    if (error != 0)
        return error;
    try {
        state_->path.append("/").append(name);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    return 0;
}

int TreeCursor::leave() {
    state_->path.resize(state_->path.rfind('/'));
    return 0;
}

int TreeCursor::makeDirectory(const char* name, int) {
    return state_->callOn(Call::kMakeDirectory, name,
                          [](const wchar_t* path) { return CreateDirectoryW(path, nullptr) != 0; });
}

int TreeCursor::removeFile(const char* name) {
    return state_->callOn(Call::kRemoveFile, name, [](const wchar_t* path) {
        // A link to a directory is removed as directories are, which does not touch its target.
        if (DeleteFileW(path))
            return true;
        const DWORD error = GetLastError();
        WIN32_FIND_DATAW data;
        const HANDLE search = FindFirstFileW(path, &data);
        if (search != INVALID_HANDLE_VALUE)
            FindClose(search);
        SetLastError(error);
        return search != INVALID_HANDLE_VALUE &&
               kindOfAttributes(data.dwFileAttributes, data.dwReserved0) == EntryKind::kLink &&
               RemoveDirectoryW(path);
    });
}

int TreeCursor::removeDirectory(const char* name) {
    return state_->callOn(Call::kRemoveDirectory, name,
                          [](const wchar_t* path) { return RemoveDirectoryW(path) != 0; });
}

struct DirectorySearch::State {
    HANDLE search = INVALID_HANDLE_VALUE;
    bool isAtFirst = true;
    WIN32_FIND_DATAW data;
    char name[3 * MAX_PATH + 1];
};

DirectorySearch::DirectorySearch(const char* directory, const char* pattern)
    : state_(new (std::nothrow) State) {
    if (!state_) {
        error_ = ENOMEM;
        return;
    }
    error_ = errorOf(Call::kOpenDirectory, WidePath(directory, pattern), [&](const wchar_t* path) {
        state_->search = FindFirstFileW(path, &state_->data);
        return state_->search != INVALID_HANDLE_VALUE;
    });
}

DirectorySearch::DirectorySearch(const TreeCursor& directory)
    : DirectorySearch(directory.state_->path.c_str(), "*") {}

DirectorySearch::~DirectorySearch() {
    if (state_ && state_->search != INVALID_HANDLE_VALUE)
        FindClose(state_->search);
    delete state_;
}

bool DirectorySearch::next() {
    if (error_ == 0)
        error_ = faultOf(Call::kReadDirectory);
    if (error_ != 0)
        return false;
    if (!state_->isAtFirst && !FindNextFileW(state_->search, &state_->data)) {
        const DWORD error = GetLastError();
        error_ = error == ERROR_NO_MORE_FILES ? 0 : errnoOf(error);
        return false;
    }
    state_->isAtFirst = false;
    toUtf8(state_->data.cFileName, state_->name);
    return true;
}

const char* DirectorySearch::name() const {
    return state_->name;
}

EntryKind DirectorySearch::kind() const {
    return kindOfAttributes(state_->data.dwFileAttributes, state_->data.dwReserved0);
}

bool DirectorySearch::leadsToDirectory() const {
    return (state_->data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

unsigned long long DirectorySearch::creationTime() const {
    const FILETIME& time = state_->data.ftCreationTime;
    return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace platform
