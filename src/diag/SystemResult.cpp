// Results for errors of the system, by their names: the numbers differ between systems.
#include "diag/SystemResult.h"

#include <cerrno>

namespace {

struct Row {
    int error;
    const ZtResult* result;
};

constexpr Row kRows[] = {
    {0, &ZtOK},
    {EPERM, &ZtEPERM},
    {ENOENT, &ZtENOENT},
    {ESRCH, &ZtESRCH},
    {EINTR, &ZtEINTR},
    {EIO, &ZtEIO},
    {ENXIO, &ZtENXIO},
    {E2BIG, &ZtE2BIG},
    {ENOEXEC, &ZtENOEXEC},
    {EBADF, &ZtEBADF},
    {ECHILD, &ZtECHILD},
    {EAGAIN, &ZtEAGAIN},
    {ENOMEM, &ZtENOMEM},
    {EACCES, &ZtEACCES},
    {EFAULT, &ZtEFAULT},
    {EBUSY, &ZtEBUSY},
    {EEXIST, &ZtEEXIST},
    {EXDEV, &ZtEXDEV},
    {ENODEV, &ZtENODEV},
    {ENOTDIR, &ZtENOTDIR},
    {EISDIR, &ZtEISDIR},
    {EINVAL, &ZtEINVAL},
    {ENFILE, &ZtENFILE},
    {EMFILE, &ZtEMFILE},
    {ENOTTY, &ZtENOTTY},
    {EFBIG, &ZtEFBIG},
    {ENOSPC, &ZtENOSPC},
    {ESPIPE, &ZtESPIPE},
    {EROFS, &ZtEROFS},
    {EMLINK, &ZtEMLINK},
    {EPIPE, &ZtEPIPE},
    {EDOM, &ZtEDOM},
    {ERANGE, &ZtERANGE},
    {EDEADLK, &ZtEDEADLK},
    {ENAMETOOLONG, &ZtENAMETOOLONG},
    {ENOLCK, &ZtENOLCK},
    {ENOSYS, &ZtENOSYS},
    {ENOTEMPTY, &ZtENOTEMPTY},
    {EILSEQ, &ZtEILSEQ},
};

}  // namespace

const ZtResult& systemResult(int error) {
    for (const Row& row : kRows)
        if (row.error == error)
            return *row.result;
    return ZtINTERNALERROR;
}
