// ZtSocketTools: the name and the address of this host.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// What the host is called and where it is found. Needs no sockets of the caller's. Looking up the
/// address may ask a name server and wait for it.
namespace ZtSocketTools {

/// Returns the host's name; empty if it is unknown or, on Windows, longer than 16 characters.
ZTLIB_API ZtString GetHostName();

/// Returns the first IPv4 address that the host's name stands for, its bytes in memory as they are
/// written; 0 if there is none.
ZTLIB_API unsigned int GetIPAddress();

/// The same as a text like "192.168.1.7"; empty if there is none.
ZTLIB_API ZtString GetIPAddressString();

}  // namespace ZtSocketTools
