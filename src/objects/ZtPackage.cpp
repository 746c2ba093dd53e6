// The library is a package itself, and initialises itself when it is loaded.
#include <ztlib/ZtInterface.h>
#include <ztlib/ZtInterfaceOwner.h>
#include <ztlib/ZtPackage.h>

int ostrelpackage_ztlib_init() {
    static bool isDone = false;
    if (!isDone) {
        isDone = true;
        ZtInterfaceOwner::initClass();
        ZtInterface::initClass();
    }
    return 0;
}

namespace {

// The loader runs this when the process gets the library, before anything that uses it.
[[maybe_unused]] const int whenLoaded = ostrelpackage_ztlib_init();

}  // namespace
