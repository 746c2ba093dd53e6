// The table of error names. Its mix of short names and sentences is what users know.
#include "net/SocketErrorNames.h"

namespace zt_net {

namespace {

struct Row {
    int code;
    const char* name;
};

constexpr Row kNames[] = {
    {10004, "INTR"},
    {10009, "BADF"},
    {10013, "ACCES"},
    {10014, "FAULT"},
    {10022, "INVAL"},
    {10024, "MFILE"},
    {10035, "WOULDBLOCK"},
    {10036, "INPROGRESS"},
    {10037, "ALREADY"},
    {10038, "NOTSOCK"},
    {10039, "DESTADDRREQ"},
    {10040, "MSGSIZE"},
    {10041, "PROTOTYPE"},
    {10042, "NOPROTOOPT"},
    {10043, "PROTONOSUPPORT"},
    {10044, "SOCKTNOSUPPORT"},
    {10045, "OPNOTSUPP"},
    {10046, "PFNOSUPPORT"},
    {10047, "AFNOSUPPORT"},
    {10048, "ADDRINUSE"},
    {10049, "ADDRNOTAVAIL"},
    {10050, "Network is down"},
    {10051, "Network is unreachable"},
    {10052, "Network dropped connection on reset"},
    {10053, "Software caused connection abort"},
    {10054, "Connection reset by peer"},
    {10055, "NOBUFS"},
    {10056, "ISCONN"},
    {10057, "NOTCONN"},
    {10058, "SHUTDOWN"},
    {10059, "TOOMANYREFS"},
    {10060, "TIMEDOUT"},
    {10061, "Connection refused"},
    {10062, "LOOP"},
    {10063, "NAMETOOLONG"},
    {10064, "HOSTDOWN"},
    {10065, "HOSTUNREACH"},
    {10066, "NOTEMPTY"},
    {10067, "PROCLIM"},
    {10068, "USERS"},
    {10069, "DQUOT"},
    {10070, "STALE"},
    {10071, "REMOTE"},
    {10091, "SYSNOTREADY"},
    {10092, "VERNOTSUPPORTED"},
    {10093, "NOTINITIALISED"},
    {10101, "DISCON"},
    {11001, "HOST_NOT_FOUND"},
    {11002, "TRY_AGAIN"},
    {11003, "NO_RECOVERY"},
    {11004, "No data, hostname-to-address translation failed"},
};

}  // namespace

const char* socketErrorName(int code) {
    for (const Row& row : kNames)
        if (row.code == code)
            return row.name;
    return "Unknown error";
}

}  // namespace zt_net
