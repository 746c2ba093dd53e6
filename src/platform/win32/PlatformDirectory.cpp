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

    // Makes a call on the paths of an entry here and of one of the same name elsewhere, which is
    // removed first.
    template <class Operation>
    int copyTo(const State& target, const char* name, Operation operation) const {
        try {
            const WidePath to((target.path + '/' + name).c_str());
            if (to.error() != 0)
                return to.error();
            if (!DeleteFileW(to.get()) && GetLastError() != ERROR_FILE_NOT_FOUND)
                return errnoOf(GetLastError());
            return callOn(Call::kWriteFile, name,
                          [&](const wchar_t* from) { return operation(from, to.get()); });
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

// The absolute path of a directory, all links resolved, with a back slash at its end; empty when it
// cannot be found out.
std::wstring finalPath(const std::string& path) {
    const WidePath wide(path.c_str());
    const HANDLE directory =
        wide.get()
            ? CreateFileW(wide.get(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)
            : INVALID_HANDLE_VALUE;
    if (directory == INVALID_HANDLE_VALUE)
        return {};
    std::wstring result(GetFinalPathNameByHandleW(directory, nullptr, 0, 0), L'\0');
    result.resize(
        GetFinalPathNameByHandleW(directory, result.data(), static_cast<DWORD>(result.size()), 0));
    CloseHandle(directory);
    if (!result.empty() && result.back() != L'\\')
        result += L'\\';
    return result;
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
    try {
        state_->path = path;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    return errorOf(Call::kOpenDirectory, WidePath(path), [&](const wchar_t* name) {
        if (lastLink == kRefuseLink)
            return isRoot() || isRealDirectory(name);
        const DWORD attributes = GetFileAttributesW(name);
        if (attributes == INVALID_FILE_ATTRIBUTES)
            return false;
        SetLastError(ERROR_DIRECTORY);
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    });
}

bool TreeCursor::isRoot() const {
    const WidePath path(state_->path.c_str());
    wchar_t full[8];
    if (!path.get())
        return false;
    const DWORD length = GetFullPathNameW(path.get(), 8, full, nullptr);
    return length == 3 && full[1] == L':';
}

bool TreeCursor::isWithin(const TreeCursor& other) const {
    try {
        const std::wstring here = finalPath(state_->path);
        const std::wstring there = finalPath(other.state_->path);
        return here.empty() || there.empty() ||
               (here.size() >= there.size() &&
                _wcsnicmp(here.c_str(), there.c_str(), there.size()) == 0);
    } catch (const std::bad_alloc&) {
        return true;
    }
}

int TreeCursor::mode() const {
    return 0777;
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

int TreeCursor::makeDirectory(const char* name, int) const {
    return state_->callOn(Call::kMakeDirectory, name,
                          [](const wchar_t* path) { return CreateDirectoryW(path, nullptr) != 0; });
}

int TreeCursor::removeFile(const char* name) const {
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

int TreeCursor::removeDirectory(const char* name) const {
    return state_->callOn(Call::kRemoveDirectory, name,
                          [](const wchar_t* path) { return RemoveDirectoryW(path) != 0; });
}

int TreeCursor::copyFile(const char* name, const TreeCursor& target) const {
    return state_->copyTo(*target.state_, name, [](const wchar_t* from, const wchar_t* to) {
        return CopyFileExW(from, to, nullptr, nullptr, nullptr, 0) != 0;
    });
}

int TreeCursor::copyLink(const char* name, const TreeCursor& target) const {
    return state_->copyTo(*target.state_, name, [](const wchar_t* from, const wchar_t* to) {
        return (GetFileAttributesW(from) & FILE_ATTRIBUTE_DIRECTORY
                    ? CreateDirectoryExW(from, to, nullptr)
                    : CopyFileExW(from, to, nullptr, nullptr, nullptr, COPY_FILE_COPY_SYMLINK)) !=
               0;
    });
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
