// Connections, lines and listening ports, over the loopback.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtServerSocket.h>
#include <ztlib/ZtSocket.h>
#include <ztlib/ZtSocketTools.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "Connections.h"
#include "platform/PlatformFaults.h"
#include "platform/PlatformSocket.h"

namespace {

using platform::Call;
using platform::CallFaults;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// Windows may call a port forbidden that another program has to itself.
bool isTaken(int code) {
    return code == 10048 || (!kNamesAreBytes && code == 10013);
}

struct ErrorServer : ZtServerSocket {
    using ZtServerSocket::error;
};

TEST(ZtSocket, ConnectsToWhatItFindsAndSaysWhyNot) {
    ZtServerSocket server;
    const int port = server.openSocket(0);
    ASSERT_GT(port, 0);
    ZtServerSocket local;
    const int localPort = local.openLocalSocket(0);
    ZtServerSocket closed;
    const int closedPort = closed.openLocalSocket(0);
    closed.close();
    struct Row {
        const char* host;
        int port, timeout;
        const char* error;  // null: connects
    };
    const int before = countDescriptors();
    for (const Row& row : {
             Row{"127.0.0.1", port, 0, nullptr},
             Row{"127.0.0.1", port, 1000, nullptr},
             Row{"127.0.0.2", localPort, 0, "Connection refused (10061)"},
             Row{nullptr, port, 1000, nullptr},
             Row{"", port, 0, "HOST_NOT_FOUND (11001)"},
             Row{"127.0.0.1", port + 65536, 0, "ADDRNOTAVAIL (10049)"},
             Row{"127.0.0.1", closedPort, 0, "Connection refused (10061)"},
             Row{"127.0.0.1", closedPort, 150, "WOULDBLOCK (10035)"},
         }) {
        SCOPED_TRACE(testing::Message() << (row.host ? row.host : "this host") << ":" << row.port
                                        << " " << row.timeout);
        const auto start = std::chrono::steady_clock::now();
        int fd = ZtSocket::connect(row.host, row.port, row.timeout);
        if (row.error) {
            EXPECT_EQ(-1, fd);
            EXPECT_STREQ(row.error, ZtSocket::lastError());
            EXPECT_GE(secondsSince(start), 0.0009 * row.timeout);
        } else {
            ASSERT_GE(fd, 0) << ZtSocket::strerror();
            int accepted = server.accept();
            EXPECT_EQ(5U, ZtSocket::send(fd, "%s\n", "line"));
            char text[6];
            EXPECT_EQ(5, ZtSocket::receive(accepted, text, 5, 1));  // so both block
            Connection::closeEnd(fd);
            Connection::closeEnd(accepted);
        }
    }
    CallFaults faults;
    faults.fail(Call::kAllowReuse, 10055);
    EXPECT_EQ(-1, ZtSocket::connect("127.0.0.1", port, 0));
    EXPECT_EQ(10055, ZtSocket::lastErrorCode());
    EXPECT_EQ(before, countDescriptors());
}

TEST(ZtSocket, WaitsAsLongAsTheTimeoutForAHostThatDoesNotAnswer) {
    ZtServerSocket server;
    const int port = server.openLocalSocket(0, 1, 0);
    std::vector<int> waiting;
    double waited = 0;
    while (waiting.empty() || waiting.back() >= 0) {  // until nobody else may wait there
        ASSERT_LT(waiting.size(), 50U);
        const auto start = std::chrono::steady_clock::now();
        waiting.push_back(ZtSocket::connect("127.0.0.1", port, 300));
        waited = secondsSince(start);
    }
    EXPECT_EQ(10035, ZtSocket::lastErrorCode());
    EXPECT_GT(waited, 0.29);
    for (int fd : waiting)
        Connection::closeEnd(fd);
}

// The fuzz entry of the same name goes through all ways and orders; this is for every system.
TEST(ZtSocket, ReceivesBlocksAndLines) {
    struct Row {
        int size;
        int lineMode;
        int result;
        std::string buffer;
    };
    Connection connection;
    ZtSocket::send(connection.left, "GET /\nabcdefg\nhi");
    platform::shutDownSending(connection.left);
    for (const Row& row : std::vector<Row>{{0, 0, 0, "###"},
                                           {1, 1, 0, "###"},
                                           {9, 1, 6, std::string("GET /\n\0#", 8)},
                                           {2, 0, 2, "ab#"},
                                           {3, 1, 3, std::string("cde\0#", 5)},
                                           {9, 1, 3, std::string("fg\n\0#", 5)},
                                           {3, 0, 0, "hi#"}}) {
        char buffer[12] = "###########";
        EXPECT_EQ(row.result, ZtSocket::receive(connection.right, buffer, row.size, row.lineMode));
        EXPECT_EQ(row.buffer, std::string(buffer, row.buffer.size()));
    }
}

TEST(ZtSocket, SendsAnyLengthAndSurvivesPeersThatAreGone) {
    Connection connection;
    const std::string big(10000, 'x');
    EXPECT_EQ(10001U, ZtSocket::send(connection.left, "%s\n", big.c_str()));
    ZtString line;
    EXPECT_EQ(10001, ZtSocket::readLine(connection.right, line));
    EXPECT_EQ(0U, ZtSocket::send(connection.left, "%s", ""));

    EXPECT_TRUE(ZtSocket::setReceiveTimeout(connection.right, 50));
    EXPECT_EQ(-1, ZtSocket::readLine(connection.right, line));
    EXPECT_EQ(10060, ZtSocket::lastErrorCode());
    char byte;
    EXPECT_EQ(-1, ZtSocket::receive(connection.right, &byte, 1, 0));
    EXPECT_STREQ("TIMEDOUT (10060)", ZtSocket::lastError());
    EXPECT_EQ(0, ZtSocket::setNoDelay(connection.left, true));
    {
        CallFaults faults;
        faults.fail(Call::kReceive, platform::socket_error::kInterrupted, 0, 3);
        ZtSocket::send(connection.left, "again\n");
        EXPECT_EQ(6, ZtSocket::readLine(connection.right, line));
        EXPECT_GE(faults.calls(Call::kReceive), 4);
    }

    ZtSocket::nonBlocking(connection.left);
    EXPECT_EQ(0, ZtSocket::isNonBlocking(connection.left));
    ZtSocket::resizeSendBuffer(connection.left, 4096);
    const unsigned failure = ~0U;
    unsigned sent = 0;
    for (int i = 0; i < 10000 && sent != failure; ++i)
        sent = ZtSocket::send(connection.left, "%s", big.c_str());
    EXPECT_EQ(failure, sent);
    EXPECT_STREQ("WOULDBLOCK (10035)", ZtSocket::lastError());

    Connection::closeEnd(connection.right);  // with unread bytes, so it is a reset
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(failure, ZtSocket::send(connection.left, "x"));
        EXPECT_STREQ("Connection reset by peer (10054)", ZtSocket::lastError());
        if (!kNamesAreBytes)
            break;  // Windows calls it aborted from then on
    }
    Connection other;
    platform::shutDownSending(other.left);
    EXPECT_EQ(failure, ZtSocket::send(other.left, "x"));
    EXPECT_STREQ("SHUTDOWN (10058)", ZtSocket::lastError());
}

TEST(ZtServerSocket, SearchesForAFreePort) {
    const int before = countDescriptors();
    {
        ZtServerSocket taken(0), found(0);
        const int port = taken.openSocket(0);
        EXPECT_EQ(-1, found.openSocket(port, -1, 25));
        EXPECT_TRUE(isTaken(ZtSocket::lastErrorCode())) << ZtSocket::strerror();
        EXPECT_GT(found.openSocket(port, -20, 25), port);
        EXPECT_TRUE(found.isOpen());
    }
    ZtServerSocket server;
    server.verbose = 0;
    EXPECT_EQ(-1, server.openSocket(65536, -3));  // past the last port nothing is free
    EXPECT_EQ(10049, ZtSocket::lastErrorCode());
    EXPECT_FALSE(server.isOpen());
    EXPECT_EQ(before, countDescriptors());
    if (!kNamesAreBytes)
        return;
    // Where somebody was faster between the two calls.
    CallFaults faults;
    faults.fail(Call::kListen, platform::socket_error::kAddressInUse);
    EXPECT_GT(server.openSocket(20000, -200), 20000);
}

TEST(ZtServerSocket, ReportsFailures) {
    ZtServerSocket other;
    const int port = other.openSocket(0);
    const int before = countDescriptors();
    {
        ErrorServer server;
        CaptureStderr();
        EXPECT_EQ(-1, server.openSocket(port, 2));
        const std::string taken = ZtSocket::strerror();
        EXPECT_TRUE(isTaken(ZtSocket::lastErrorCode())) << taken;
        EXPECT_EQ(-1, server.accept());
        CallFaults faults;
        faults.fail(Call::kOpenSocket, 10024);
        EXPECT_EQ(-1, server.openSocket(0));
        faults.fail(Call::kListen, 10055);
        EXPECT_EQ(-1, server.openSocket(0));
        EXPECT_EQ(-1, server.fd);
        faults.fail(Call::kAccept, 10024);
        EXPECT_EQ(-1, other.accept());
        faults.fail(Call::kHostName, 10014);
        EXPECT_EQ(-1, server.openSocket(0));
        EXPECT_TRUE(server.fd >= 0 && server.port == -1 && !server.isOpen());
        faults.fail(Call::kSend, 4711);
        ZtSocket::send(server.fd, "x");
        server.error(nullptr);
        other.nonBlocking();
        EXPECT_EQ(-1, other.accept());
        EXPECT_EQ(10035, ZtSocket::lastErrorCode());
        EXPECT_EQ(0, other.isNonBlocking());
        EXPECT_EQ("bind: " + taken +
                      "\nsocket: MFILE (10024)\nlisten: NOBUFS (10055)\n"
                      "accept: MFILE (10024)\ngethostbyname: FAULT (10014)\n"
                      "ZtServerSocket: Unknown error (4711)\n",
                  GetCapturedStderr());
    }
    EXPECT_EQ(before, countDescriptors());
}

TEST(ZtSocketTools, KnowThisHost) {
    EXPECT_FALSE(kNamesAreBytes && ZtSocketTools::GetHostName().isEmptyString());
    const ZtString text = ZtSocketTools::GetIPAddressString();
    unsigned address = 0;
    EXPECT_NE(text.isEmptyString(), platform::resolveHost(text.getString(), address));
    EXPECT_EQ(address, ZtSocketTools::GetIPAddress());
}

}  // namespace
