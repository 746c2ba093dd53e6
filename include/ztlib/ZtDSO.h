// Loading packages: shared libraries that add types and capabilities to a program.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>

class ZtFilename;
class ZtString;

/// A package that is loaded by its name at run time, and the way to what it exports. A name without
/// a directory is looked for in the directories of `dsoSearchPath`; it may be that of the file
/// ("libshapes.so", "shapes.dll") or of the package ("shapes") on every system. See `ZtPackage.h`
/// for what a package is made of.
///
/// Packages stay in the process until it ends, and so do their types. A copy is the same open
/// package: closing one closes both. Load packages before threads start; one thread at a time.
class ZTLIB_API ZtDSO {
public:
    /// Opens the package if there is a name.
    ZtDSO(const char* name = nullptr);
    ZtDSO(const ZtDSO& other);
    ZtDSO& operator=(const ZtDSO& other);
    ~ZtDSO();

    /// Loads a package by its UTF-8 name and calls its initialisation function, if it has one. An
    /// absolute name is tried as it is; a relative one in each directory of `dsoSearchPath`, the
    /// last one first, and then where the system looks. Returns 0, or -1 if there is no name or
    /// nothing could be loaded; what was tried is then printed on standard output, unless `quiet`.
    ///
    /// An exception from the initialisation function ends there, and is told on standard error
    /// unless `quiet`; the package is open nevertheless.
    int open(const char* name, bool quiet = false);

    /// Forgets the package, which stays loaded.
    void close();

    /// Non-zero while a package is open.
    int isOpen() const;

    /// Returns the address of what the package exports by that name; null if there is nothing, for
    /// a null name and when no package is open.
    void* getSymbol(const char* name);

    /// Call the exported function of that name, which is expected to take as many pointers and to
    /// return nothing, an int, or a pointer; they do nothing, and return 0, when there is none.
    void execute(const char* name);
    void execute(const char* name, void* x0);
    void execute(const char* name, void* x0, void* x1);
    void execute(const char* name, void* x0, void* x1, void* x2);
    void execute(const char* name, void* x0, void* x1, void* x2, void* x3);
    void execute(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4);
    int executeInt(const char* name);
    int executeInt(const char* name, void* x0);
    int executeInt(const char* name, void* x0, void* x1);
    int executeInt(const char* name, void* x0, void* x1, void* x2);
    int executeInt(const char* name, void* x0, void* x1, void* x2, void* x3);
    int executeInt(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4);
    void* executePtr(const char* name);
    void* executePtr(const char* name, void* x0);
    void* executePtr(const char* name, void* x0, void* x1);
    void* executePtr(const char* name, void* x0, void* x1, void* x2);
    void* executePtr(const char* name, void* x0, void* x1, void* x2, void* x3);
    void* executePtr(const char* name, void* x0, void* x1, void* x2, void* x3, void* x4);

    /// When not 0, symbols that are looked for and packages that are opened are printed on standard
    /// output.
    static int verbose;

    /// The directories of packages, the last one searched first. The texts stay the caller's and
    /// are expected to live on; null is passed over.
    static ZtDArray<const char*, 1>& dsoSearchPath;

protected:
    /// Loads a file and says in `message` how that went. Returns 0 or -1.
    int tryOpen(const char* filename, ZtString& message);

    /// Turns back slashes into slashes and gives the file the name that the system's libraries
    /// have.
    static void fixPath(ZtFilename& path);

private:
    struct Record;

    int tryBoth(const ZtFilename& path, const ZtFilename& other, bool isBare, ZtString& report);
    int search(const ZtFilename& path, const ZtFilename& other, ZtString& report);
    void initialise(const ZtFilename& path, bool quiet);
    void drop();

    Record* record_;
};
