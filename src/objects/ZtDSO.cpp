// Loading packages: finding their files, initialising them, calling what they export.
#include <ztlib/ZtDSO.h>
#include <ztlib/ZtException.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtTmpDir.h>

#include <cstdio>
#include <exception>

#include "objects/PackageNames.h"

/// What the copies of one object share.
struct ZtDSO::Record {
    void* library = nullptr;
    int owners = 1;
};

namespace {

/// Never destroyed: static objects of other libraries open packages, too.
union SearchPath {
    constexpr SearchPath() noexcept : directories() {}
    ~SearchPath() {}  // NOLINT(modernize-use-equals-default): it would be deleted
    ZtDArray<const char*, 1> directories;
};
constinit SearchPath searchPath;

template <class Result, class... Arguments>
Result call(void* symbol, Arguments... arguments) {
    using Function = Result (*)(Arguments...);
    return symbol ? reinterpret_cast<Function>(symbol)(arguments...) : Result();
}

void tellException(const ZtString& function, const char* what, bool quiet) {
    if (!quiet)
        std::fprintf(stderr, "%s: %s\n", function.getString(), what);
}

}  // namespace

int ZtDSO::verbose = 0;

constinit ZtDArray<const char*, 1>& ZtDSO::dsoSearchPath = searchPath.directories;

ZtDSO::ZtDSO(const char* name) : record_(new Record) {
    if (!name)
        return;
    try {
        open(name);
    } catch (...) {
        drop();
        throw;
    }
}

ZtDSO::ZtDSO(const ZtDSO& other) : record_(other.record_) {
    ++record_->owners;
}

ZtDSO& ZtDSO::operator=(const ZtDSO& other) {
    ++other.record_->owners;
    drop();
    record_ = other.record_;
    return *this;
}

ZtDSO::~ZtDSO() {
    drop();
}

void ZtDSO::drop() {
    if (--record_->owners == 0)
        delete record_;
}

int ZtDSO::open(const char* name, bool quiet) {
    close();
    if (!name)
        return -1;
    ZtFilename path(name);
    fixPath(path);
    const ZtFilename other = zt_objects::otherPackagePath(name, path, platform::libraryNaming());
    ZtString report;
    const int result = zt_objects::isAbsolute(path) ? tryBoth(path, other, false, report)
                                                    : search(path, other, report);
    if (!quiet && (result != 0 || verbose))
        std::printf("%s\n", report.getString());
    if (result == 0)
        initialise(path, quiet);
    return result;
}

// Goes through the directories, and at last asks the system; adds each attempt to the report.
int ZtDSO::search(const ZtFilename& path, const ZtFilename& other, ZtString& report) {
    for (int i = dsoSearchPath.size() - 1; i >= 0; --i) {
        // A library that runs code when it is loaded may change the list.
        if (i >= dsoSearchPath.size() || !dsoSearchPath[i])
            continue;
        const ZtString directory = ZtString(dsoSearchPath[i]) + "/";
        const ZtFilename there = other.isEmptyString() ? other : ZtFilename(directory + other);
        if (tryBoth(ZtFilename(directory + path), there, false, report) == 0)
            return 0;
    }
    return tryBoth(path, other, true, report);
}

// Tries a file and, where there is none, its other name. Adds to the report how that went: of a
// failure by the first name. Where the system looks for a bare name, it alone knows what is there.
int ZtDSO::tryBoth(const ZtFilename& path, const ZtFilename& other, bool isBare, ZtString& report) {
    ZtString message;
    int result = tryOpen(path, message);
    bool isMissing = result != 0 && (isBare || !ZtTmpDir::doesExist(path));
    if (isMissing && !other.isEmptyString()) {
        ZtString otherMessage;
        result = tryOpen(other, otherMessage);
        if (result == 0)
            message = otherMessage;
        else
            isMissing = !ZtTmpDir::doesExist(other);
    }
    if (result != 0 && isMissing && !isBare)
        message.printf("Couldn't open %s:\nFile does not exist.\n", path.getString());
    report += message;
    return result;
}

int ZtDSO::tryOpen(const char* filename, ZtString& message) {
    close();
    void* const library = filename ? platform::loadLibrary(filename) : nullptr;
    record_->library = library;
    if (library) {
        message.printf("Successfully opened %s.\n", filename);
        return 0;
    }
    message.printf(
        "Couldn't open %s:\nProbably there are undefined symbols or a dependent DLL is missing.",
        filename ? filename : "");
    return -1;
}

void ZtDSO::fixPath(ZtFilename& path) {
    zt_objects::fixPackagePath(path, platform::libraryNaming());
}

// Calls the initialisation function; it is the package's own business what it returns.
void ZtDSO::initialise(const ZtFilename& path, bool quiet) {
    ZtString function = zt_objects::initFunctionName(path, platform::libraryNaming(), false);
    void* symbol = getSymbol(function);
    const ZtString longer = zt_objects::initFunctionName(path, platform::libraryNaming(), true);
    if (!symbol && longer != function) {
        function = longer;
        symbol = getSymbol(function);
    }
    try {
        call<int>(symbol);
    } catch (const std::exception& exception) {
        tellException(function, exception.what(), quiet);
    } catch (const ZtException& exception) {
        tellException(function, exception.what(), quiet);
    } catch (...) {
        tellException(function, "unknown exception", quiet);
    }
}

void ZtDSO::close() {
    record_->library = nullptr;
}

int ZtDSO::isOpen() const {
    return record_->library ? 1 : 0;
}

void* ZtDSO::getSymbol(const char* name) {
    if (!name)
        return nullptr;
    if (verbose)
        std::printf("ZtDSO::getSymbol(%s)\n", name);
    void* const symbol = record_->library ? platform::findSymbol(record_->library, name) : nullptr;
    if (!symbol && verbose)
        std::printf("%s\n", name);
    return symbol;
}

void ZtDSO::execute(const char* name) {
    call<void>(getSymbol(name));
}

void ZtDSO::execute(const char* name, void* x0) {
    call<void>(getSymbol(name), x0);
}

void ZtDSO::execute(const char* name, void* x0, void* x1) {
    call<void>(getSymbol(name), x0, x1);
}

void ZtDSO::execute(const char* name, void* x0, void* x1, void* x2) {
    call<void>(getSymbol(name), x0, x1, x2);
}

void ZtDSO::execute(const char* name, void* x0, void* x1, void* x2, void* x3) {
    call<void>(getSymbol(name), x0, x1, x2, x3);
}

void ZtDSO::execute(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4) {
    call<void>(getSymbol(name), x0, x1, x2, x3, x4);
}

int ZtDSO::executeInt(const char* name) {
    return call<int>(getSymbol(name));
}

int ZtDSO::executeInt(const char* name, void* x0) {
    return call<int>(getSymbol(name), x0);
}

int ZtDSO::executeInt(const char* name, void* x0, void* x1) {
    return call<int>(getSymbol(name), x0, x1);
}

int ZtDSO::executeInt(const char* name, void* x0, void* x1, void* x2) {
    return call<int>(getSymbol(name), x0, x1, x2);
}

int ZtDSO::executeInt(const char* name, void* x0, void* x1, void* x2, void* x3) {
    return call<int>(getSymbol(name), x0, x1, x2, x3);
}

int ZtDSO::executeInt(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4) {
    return call<int>(getSymbol(name), x0, x1, x2, x3, x4);
}

void* ZtDSO::executePtr(const char* name) {
    return call<void*>(getSymbol(name));
}

void* ZtDSO::executePtr(const char* name, void* x0) {
    return call<void*>(getSymbol(name), x0);
}

void* ZtDSO::executePtr(const char* name, void* x0, void* x1) {
    return call<void*>(getSymbol(name), x0, x1);
}

void* ZtDSO::executePtr(const char* name, void* x0, void* x1, void* x2) {
    return call<void*>(getSymbol(name), x0, x1, x2);
}

void* ZtDSO::executePtr(const char* name, void* x0, void* x1, void* x2, void* x3) {
    return call<void*>(getSymbol(name), x0, x1, x2, x3);
}

void* ZtDSO::executePtr(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4) {
    return call<void*>(getSymbol(name), x0, x1, x2, x3, x4);
}
