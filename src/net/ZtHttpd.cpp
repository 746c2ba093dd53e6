// The file server.
#include <ztlib/ZtContract.h>
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtHttpd.h>
#include <ztlib/ZtSocket.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "net/FileReply.h"
#include "net/ReceiveLine.h"
#include "net/RequestLine.h"
#include "platform/PlatformSocket.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLongestRequest = 1024;
constexpr int kMostFailures = 10;
constexpr int kFailurePause = 500;

const char kScriptAnswer[] = "HTTP/1.0 204\nCache-Control: max-age=1\n\n";

// Whether an error means that the client is gone, so that trying again is of no use.
bool isGone(int code) {
    namespace error = platform::socket_error;
    return code == error::kReset || code == error::kAborted || code == error::kShutDown ||
           code == error::kNotConnected;
}

// Reads what the client has sent that nobody wants, until it closes its side: a socket that is
// closed with unread bytes resets the connection, and the client loses the end of the answer.
void discardRest(int connection) {
    constexpr std::chrono::milliseconds kLongest(1000);
    constexpr int kMost = 1 << 20;
    const Clock::time_point end = Clock::now() + kLongest;
    char bytes[4096];
    ZtSocket::nonBlocking(connection);
    for (int count = 0; count < kMost;) {
        const int part = platform::receiveSome(connection, bytes, sizeof bytes);
        if (part > 0) {
            count += part;
            continue;
        }
        const bool isWaiting =
            part < 0 && platform::socketError() == platform::socket_error::kWouldBlock;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (!isWaiting || left <= 0 ||
            platform::waitReadable(connection, static_cast<int>(left)) < 1)
            return;
    }
}

ZtString escaped(const char* text) {
    ZtString result;
    for (; *text; ++text) {
        switch (*text) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&#39;";
                break;
            default:
                result += *text;
        }
    }
    return result;
}

}  // namespace

ZtHttpd::ZtHttpd(int firstPort, std::FILE* logArg) : ZtHttpd(firstPort, logArg, ALL_HOSTS) {}

ZtHttpd::ZtHttpd(int firstPort, std::FILE* logArg, Hosts hosts)
    : ZtServerSocket(1), log(logArg), terminate(0), callbackData(nullptr), callback(nullptr) {
    constexpr int kTries = -20;
    constexpr int kBacklog = 25;
    if (hosts == LOCAL_HOST_ONLY)
        openLocalSocket(firstPort, kTries, kBacklog);
    else
        openSocket(firstPort, kTries, kBacklog);
}

ZtHttpd::~ZtHttpd() = default;

void ZtHttpd::setNwCallback(void (*function)(const char* path, void* data), void* data) {
    callback = function;
    callbackData = data;
}

const char* ZtHttpd::getHost() {
    return "localhost";
}

void ZtHttpd::setDocumentRoot(const char* directory) {
    documentRoot_ = directory;
}

void ZtHttpd::setQuit(Quit quit) {
    quit_ = quit;
}

void ZtHttpd::setReceiveTimeLimit(int milliseconds) {
    receiveTimeLimit_ = milliseconds;
}

void ZtHttpd::setMaxFileSize(long long bytes) {
    maxFileSize_ = bytes;
}

void ZtHttpd::setEscapesPaths(bool escapes) {
    escapesPaths_ = escapes;
}

void ZtHttpd::mainLoop() {
    blocking();
    terminate = 0;
    do {
        const int connection = accept();
        if (connection >= 0)
            handleRequest(connection);
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } while (!terminate);
}

void ZtHttpd::handleRequest(int connection) {
    struct Closer {
        int connection;
        ~Closer() { ZtSocket::close(connection); }
    } const closer{connection};
    char request[kLongestRequest + 1];
    ZtSocket::blocking(connection);
    if (zt_net::receiveLine(connection, request, kLongestRequest, receiveTimeLimit_) > 0)
        interprete(connection, request);
    // What is still on its way gets a moment, but nobody waits for what has arrived.
    if (!platform::hasDelivered(connection))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (platform::shutDownSending(connection))
        discardRest(connection);
}

bool ZtHttpd::mayQuit(int connection) const {
    return quit_ == QUIT_FROM_ALL_HOSTS ||
           (quit_ == QUIT_FROM_LOCAL_HOST && platform::isPeerLocal(connection));
}

int ZtHttpd::interprete(int connection, char* request) {
    if (log) {
        std::fprintf(log, "ZtHttpd: received %d: %s\n", connection, request);
        std::fflush(log);
    }
    std::printf("ZtHttpd: received %d: %s\n", connection, request);
    if (zt_net::startsWith(request, "GET ")) {
        char* const path = zt_net::takePath(request);
        return executeScript(connection, path) ? 1 : sendFile(connection, path);
    }
    if (zt_net::startsWith(request, "QUIT") && mayQuit(connection)) {
        std::fprintf(stderr, "Terminating http daemon\n");
        terminate = 1;
        close();
    }
    return 1;
}

int ZtHttpd::executeScript(int connection, char* path) {
    const char* const extension = zt_net::extensionOf(path);
    if (!callback || !extension ||
        (std::strcmp(extension, "nw") != 0 && std::strcmp(extension, "iv") != 0))
        return 0;
    zt_net::removeCgiBin(path);
    callback(path, callbackData);
    int failures = 0;
    sendAll(connection, kScriptAnswer, sizeof kScriptAnswer - 1, failures);
    return 1;
}

// Answers with the file or the directory's page that a path names. Returns 1.
int ZtHttpd::sendFile(int connection, char* path) {
    const bool hasRoot = !documentRoot_.isEmptyString();
    const char* const root = hasRoot ? documentRoot_.getString() : nullptr;
    ZtString place(path);
    if (hasRoot)
        place = documentRoot_ + "/" + place;
    zt_net::FileReply file;
    bool isOpen = false;
    if (*path != '\0' && ZtFilename::doesExist(place.getString())) {
        if (ZtDirectory::isDirectory(place.getString()))
            isOpen = file.open(place + "/index.html", root, maxFileSize_) ||
                     file.open(place + "/main.html", root, maxFileSize_);
        else
            isOpen = file.open(place, root, maxFileSize_);
    }
    if (!isOpen)
        return fileNotFound(connection, path, static_cast<int>(std::strlen(path)));
    if (log) {
        std::fprintf(log, "ZtHttpd: sending file %s (%lld bytes)\n", file.path().getString(),
                     file.size());
        std::fflush(log);
    }
    int failures = 0;
    int size;
    for (const char* piece = file.next(size);
         size > 0 && sendAll(connection, piece, size, failures);)
        piece = file.next(size);
    return 1;
}

int ZtHttpd::fileNotFound(int connection, char* path, int length) {
    ZT_REQUIRE(length >= 0);
    path[length] = '\0';
    if (log) {
        std::fprintf(log, "ZtHttpd: could not open %s\n", path);
        std::fflush(log);
    }
    const ZtString page = ZtString("<HTML><BODY>Can't open file ") +
                          (escapesPaths_ ? escaped(path) : ZtString(path)) + "</BODY></HTML>\n";
    int failures = 0;
    sendAll(connection, page.getString(), page.length(), failures);
    return 1;
}

int ZtHttpd::send(int connection, const char* data, int length) {
    ZtSocket::nonBlocking(connection);
    return platform::sendSome(connection, data, length);
}

// Sends all of it, waiting for a client that is slow, and adds to the failures of the whole answer.
// Gives the client up after too many, and tells whether it did not.
bool ZtHttpd::sendAll(int connection, const char* data, int length, int& failures) {
    while (length > 0) {
        const int sent = send(connection, data, length);
        if (sent > 0) {
            data += sent;
            length -= sent;
            continue;
        }
        const int code = platform::socketError();
        if (isGone(code))
            failures = kMostFailures;
        else if (code != platform::socket_error::kWouldBlock)
            std::this_thread::sleep_for(std::chrono::milliseconds(kFailurePause));
        else if (platform::waitWritable(connection, kFailurePause) > 0)
            continue;
        if (++failures > kMostFailures) {
            std::perror("send");
            platform::shutDown(connection);  // nothing more gets there, so nobody is waited for
            return false;
        }
    }
    return true;
}
