// ZtHttpd: lets other programs fetch files from the running application and trigger its scripts.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtServerSocket.h>
#include <ztlib/ZtString.h>

#include <cstdio>

/// A minimal file server: one request per connection, one connection at a time, all on the thread
/// that calls `mainLoop`. To "GET /path" it answers with the bare content of that file of this
/// computer, without status line and headers, and closes; text that is no page gets the line
/// "<PLAINTEXT>" before it. Paths that end with ".nw" or ".iv" go to the application's callback
/// instead. "QUIT" ends `mainLoop`.
///
/// By default this exposes the computer: every host that reaches the port can read every file that
/// the process can read, run every script and stop the daemon, and text from the request stands
/// unchanged in error pages. There is no encryption and nobody says who he is. The settings below
/// restrict that, each by one call; in a network that is not all yours use
///
///     ZtHttpd daemon(8080, log, ZtHttpd::LOCAL_HOST_ONLY);
///     daemon.setDocumentRoot("/srv/files");
///     daemon.setQuit(ZtHttpd::QUIT_FROM_NOBODY);
///     daemon.setReceiveTimeLimit(5000);
///     daemon.setMaxFileSize(100000000);
///     daemon.setEscapesPaths(true);
///
/// and remember that pages of other sites, in a browser on this computer, can send requests, too.
///
/// A client that is slow holds up the others; one that takes nothing for half a second, eleven
/// times, is given up. Waiting costs no processor time, and memory does not depend on the size of
/// files. Copies share the listening socket as those of the base do.
class ZTLIB_API ZtHttpd : public ZtServerSocket {
public:
    std::FILE* log;          ///< receives the daemon's lines, each at once; may be null
    volatile int terminate;  ///< when not 0, `mainLoop` ends after the current connection
    void* callbackData;      ///< as given to `setNwCallback`, like the next
    void (*callback)(const char* path, void* data);  ///< null for none

    /// Who may connect.
    enum Hosts { ALL_HOSTS, LOCAL_HOST_ONLY };
    /// Whose "QUIT" counts.
    enum Quit { QUIT_FROM_ALL_HOSTS, QUIT_FROM_LOCAL_HOST, QUIT_FROM_NOBODY };

    /// Listens at `port` or the first free one of the 19 after it; the member `port` tells which,
    /// -1 for none. Does not close the log.
    explicit ZtHttpd(int port, std::FILE* log = nullptr);
    ZtHttpd(int port, std::FILE* log, Hosts hosts);

    ZtHttpd(const ZtHttpd&) = default;
    ZtHttpd& operator=(const ZtHttpd&) = default;
    /// Closes the listening socket.
    virtual ~ZtHttpd();

    /// Sets what is called, with the request's path and `data`, for paths that end with ".nw" or
    /// ".iv"; null serves such files like others. A first "cgi-bin" in the path, and a slash before
    /// it, is dropped: "/cgi-bin/run.nw" is "/run.nw". Nothing says that such a file exists.
    void setNwCallback(void (*function)(const char* path, void* data), void* data);

    /// Returns "localhost".
    const char* getHost();

    /// Serves one connection after the other until a "QUIT". Without a listening socket it tries
    /// again every millisecond.
    void mainLoop();

    /// Serves one connection and closes it, also when the callback throws or memory is exhausted:
    /// reads the request line, of which the first 1024 bytes count, and answers. Waits up to a
    /// second for a client that does not close its side then. Any connected stream socket will do.
    void handleRequest(int connection);

    // Restrictions. None holds by default.

    /// Takes paths from this directory, and serves nothing outside of it: ".." and links may lead
    /// about inside. Null or "" takes them from the root of the file system again. On Windows a
    /// path with a drive names nothing then.
    void setDocumentRoot(const char* directory);
    /// Says whose "QUIT" counts; others' are ignored.
    void setQuit(Quit quit);
    /// Closes a connection without an answer when its request line has not come after so many
    /// milliseconds; 0 waits for ever.
    void setReceiveTimeLimit(int milliseconds);
    /// Answers for longer files as if they were missing; negative for no limit.
    void setMaxFileSize(long long bytes);
    /// Whether the characters that mean something to browsers are escaped where an error page
    /// quotes the path.
    void setEscapesPaths(bool escapes);

protected:
    /// Answers a request line, which it changes. Returns 1.
    int interprete(int connection, char* request);
    /// Hands a path to the callback and answers, if it is for it; tells whether it was. Changes the
    /// path then.
    int executeScript(int connection, char* path);
    /// Cuts the path at `length` and answers that it cannot be opened. Returns 1.
    int fileNotFound(int connection, char* path, int length);
    /// Makes the connection non-blocking and sends once. Returns how much was taken, -1 on failure.
    int send(int connection, const char* data, int length);

private:
    bool sendAll(int connection, const char* data, int length, int& failures);
    int sendFile(int connection, char* path);
    bool mayQuit(int connection) const;
    void finish(int connection);

    ZtString documentRoot_;
    Quit quit_ = QUIT_FROM_ALL_HOSTS;
    int receiveTimeLimit_ = 0;
    long long maxFileSize_ = -1;
    bool escapesPaths_ = false;
};
