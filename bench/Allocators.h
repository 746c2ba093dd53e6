// The allocators that are compared: ours, the system's, and others that are loaded beside it.
#pragma once

#include <dlfcn.h>
#include <ztlib/ZtPooledAllocator.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace bench {

struct Allocator {
    std::string name;
    std::string library;
    void* (*allocate)(std::size_t size) = nullptr;
    void* (*resize)(void* block, std::size_t size) = nullptr;
    void (*release)(void* block) = nullptr;
};

inline Allocator oursAllocator() {
    return {"ours", "ztlib", nedmalloc, nedrealloc, nedfree};
}

inline Allocator systemAllocator() {
    return {"the system's malloc", "libc", std::malloc, std::realloc, std::free};
}

/// Loads an allocator for itself, so that it replaces nobody's `malloc`; its functions have a
/// prefix of their own or none. Its `name` is empty when it is not installed.
inline Allocator loadAllocator(const char* name, const char* library, const std::string& prefix) {
    void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (!handle)
        return {};
    Allocator loaded{name, library};
    const auto find = [&](const char* function, auto& pointer) {
        void* const symbol = dlsym(handle, (prefix + function).c_str());
        pointer = reinterpret_cast<std::remove_reference_t<decltype(pointer)>>(symbol);
    };
    find("malloc", loaded.allocate);
    find("realloc", loaded.resize);
    find("free", loaded.release);
    const bool isWhole = loaded.allocate && loaded.resize && loaded.release;
    return isWhole ? loaded : Allocator{};
}

/// Those of the others that are installed, the names of the rest in `missing`.
inline std::vector<Allocator> otherAllocators(std::vector<std::string>& missing) {
    std::vector<Allocator> others;
    const auto add = [&](const char* name, const char* library, const char* prefix) {
        Allocator loaded = loadAllocator(name, library, prefix);
        if (loaded.name.empty())
            missing.push_back(name);
        else
            others.push_back(loaded);
    };
    add("mimalloc", "libmimalloc.so.2", "mi_");
    add("jemalloc", "libjemalloc.so.2", "");
    add("tcmalloc", "libtcmalloc_minimal.so.4", "tc_");
    return others;
}

}  // namespace bench
