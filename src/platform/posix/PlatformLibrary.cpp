// Shared libraries, by the dynamic linker.
#include "platform/PlatformLibrary.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdio>
#include <cstring>

#include "platform/PlatformFile.h"

namespace platform {

namespace {

// Whether a file ends before the parts of it that would be mapped into memory, as that of a copy
// that was broken off: the linker would run into nothing there and end the process. What is no
// library at all is left to the linker to refuse.
bool isCutOff(std::FILE* file) {
    ElfW(Ehdr) header;
    if (std::fread(&header, sizeof header, 1, file) != 1 ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return false;
    if (std::fseek(file, 0, SEEK_END) != 0)
        return false;
    const auto size = static_cast<ElfW(Off)>(std::ftell(file));
    for (int i = 0; i < header.e_phnum; ++i) {
        const ElfW(Off) place = header.e_phoff + static_cast<ElfW(Off)>(i) * header.e_phentsize;
        ElfW(Phdr) part;
        if (place > size || std::fseek(file, static_cast<long>(place), SEEK_SET) != 0 ||
            std::fread(&part, sizeof part, 1, file) != 1)
            return true;
        if (part.p_type == PT_LOAD &&
            (part.p_offset > size || part.p_filesz > size - part.p_offset))
            return true;
    }
    return false;
}

}  // namespace

LibraryNaming libraryNaming() {
    return LibraryNaming::kUnix;
}

void* loadLibrary(const char* path) {
    if (std::strchr(path, '/')) {
        if (std::FILE* const file = openFile(path, "rbe")) {
            const bool isIncomplete = isCutOff(file);
            std::fclose(file);
            if (isIncomplete)
                return nullptr;
        }
    }
    // All at once, or what is missing would end the process when it is first called.
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void* findSymbol(void* library, const char* name) {
    return dlsym(library, name);
}

}  // namespace platform
