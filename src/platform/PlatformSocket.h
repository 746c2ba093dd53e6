// TCP over IPv4, as the system offers it.
//
// A socket is a number, -1 for none. Operations that return a bool tell whether they succeeded,
// those that return an int give -1 on failure; `socketError` then tells why. Addresses and nothing
// else are in network byte order. A call that a signal interrupts is made again, and no call raises
// a signal. Programs that are started do not inherit the sockets.
#pragma once

namespace platform {

/// Error numbers are the same on every system. `PlatformSocket.cpp` of a system whose own numbers
/// are others translates them.
namespace socket_error {
inline constexpr int kInterrupted = 10004;
inline constexpr int kInvalid = 10022;
inline constexpr int kTooManyDescriptors = 10024;
inline constexpr int kWouldBlock = 10035;
inline constexpr int kAddressInUse = 10048;
inline constexpr int kAddressNotAvailable = 10049;
inline constexpr int kAborted = 10053;
inline constexpr int kReset = 10054;
inline constexpr int kNoBuffers = 10055;
inline constexpr int kNotConnected = 10057;
inline constexpr int kShutDown = 10058;
inline constexpr int kTimedOut = 10060;
inline constexpr int kRefused = 10061;
inline constexpr int kHostNotFound = 11001;
}  // namespace socket_error

inline constexpr unsigned kAnyAddress = 0;

/// Why the calling thread's last call failed that did; 0 before.
int socketError();
void setSocketError(int error);

/// Makes the system's sockets ready for use, if they have to be.
bool startSockets();

int openSocket();
bool closeSocket(int socket);

/// Lets a socket that will connect use an address that is still known from an earlier connection.
bool allowReuse(int socket);
/// The same for a socket that will listen; nobody else who listens can have the address meanwhile.
bool allowReuseByListener(int socket);

/// Expects a port in 0 .. 65535; 0 lets the system choose.
bool bindSocket(int socket, unsigned address, int port);
bool listenOn(int socket, int backlog);
/// Returns the port that a socket is bound to.
int portOf(int socket);
int acceptFrom(int socket);

/// Starts to connect; expects a port in 1 .. 65535. A socket that does not block fails with
/// `kWouldBlock` and connects meanwhile: it becomes writable when it is done.
bool connectTo(int socket, unsigned address, int port);
/// Returns why connecting failed meanwhile, 0 if it did not.
int connectError(int socket);

bool setBlocking(int socket, bool blocks);
bool setSendBuffer(int socket, int size);
bool setNoDelay(int socket, bool on);
/// How long a receiving call waits; 0 is for ever.
bool setReceiveTimeout(int socket, int milliseconds);

/// Receives at most `size` bytes, 0 at the end of what the peer sends. Peeking leaves them where
/// they are.
int receiveSome(int socket, void* buffer, int size);
int peekSome(int socket, void* buffer, int size);
int sendSome(int socket, const void* data, int size);

/// Waits until a call would not block, because it can do something or fail. Returns 1 then, 0 when
/// the time is up.
int waitReadable(int socket, int milliseconds);
int waitWritable(int socket, int milliseconds);

/// Whether the peer has got all that was sent; false where the system does not tell.
bool hasDelivered(int socket);

/// Tells the peer that nothing more will be sent.
bool shutDownSending(int socket);
bool shutDown(int socket);

/// Whether the peer is a program on this host.
bool isPeerLocal(int socket);

/// Writes the host's name, zero-terminated.
bool hostName(char* name, int size);
/// Finds the first address of a host by its name, or takes the numbers of a text like "127.0.0.1",
/// "127.1" or "2130706433".
bool resolveHost(const char* host, unsigned& address);

/// The same, for a program that has not made sockets ready. `shortHostName` may know no names that
/// are longer than a local network's.
bool shortHostName(char* name, int size);
bool resolveHostBriefly(const char* host, unsigned& address);

}  // namespace platform
