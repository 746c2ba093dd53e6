// The file server: what it answers, what it may be kept from, and clients that behave badly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ztlib/ZtHttpd.h>

#include <ctime>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "Connections.h"
#include "platform/PlatformFaults.h"
#include "platform/PlatformSocket.h"

#if !defined(__SANITIZE_ADDRESS__)
constexpr bool kKeepsFreedMemory = false;
#else
constexpr bool kKeepsFreedMemory = true;
#endif

namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

void sendText(int fd, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int sent =
            platform::sendSome(fd, text.data() + at, static_cast<int>(text.size() - at));
        if (sent < 1)
            return;  // the daemon has had enough
        at += static_cast<std::size_t>(sent);
    }
}

std::string receiveAll(int fd) {
    std::string text;
    std::vector<char> part(1 << 16);
    for (;;) {
        const int count = platform::receiveSome(fd, part.data(), 1 << 16);
        if (count < 1)
            return text;
        text.append(part.data(), static_cast<std::size_t>(count));
    }
}

std::string notFound(const std::string& path) {
    return "<HTML><BODY>Can't open file " + path + "</BODY></HTML>\n";
}

// A daemon in a thread, with a folder of files, which stops in the end.
class HttpdTest : public testing::Test {
protected:
    HttpdTest() { CaptureStdout(); }
    ~HttpdTest() override {
        stop();
        std::fclose(daemon.log);
        const std::string printed = GetCapturedStdout();  // by the daemon, and by failed tests
        if (HasFailure())
            std::printf("%s", printed.c_str());
    }
    void start() {
        ASSERT_GT(daemon.port, 0);
        loop = std::thread([this] { daemon.mainLoop(); });
    }
    void stop() {
        if (!loop.joinable())
            return;
        CaptureStderr();
        ask("quit\n");
        loop.join();
        messages = GetCapturedStderr();
    }
    int connect() const {
        const int fd = ZtSocket::connect("127.0.0.1", port, 0);
        EXPECT_GE(fd, 0);
        return fd;
    }
    std::string ask(const std::string& request) const {
        const int fd = connect();
        sendText(fd, request);
        std::string answer = receiveAll(fd);
        ZtSocket::close(fd);
        return answer;
    }
    // The same without the thread, by a client that sends nothing more.
    std::string askDirectly(const std::string& request) {
        Connection connection;
        sendText(connection.left, request);
        platform::shutDownSending(connection.left);
        const int right = connection.right;
        connection.right = -1;
        daemon.handleRequest(right);
        return receiveAll(connection.left);
    }
    std::string get(const std::string& path) const { return ask("GET " + path + " HTTP/1.0\r\n"); }
    ScratchFolder folder;
    ZtHttpd daemon{0, std::fopen(folder.of("log").c_str(), "wb"), ZtHttpd::LOCAL_HOST_ONLY};
    const int port = daemon.port;
    std::thread loop;
    std::string messages;
};

TEST_F(HttpdTest, AnswersWithFiles) {
    const std::string blanks(300000, ' ');
    folder.addFolder("main");
    folder.addFolder("none");
    start();
    const std::string at = folder.of("");
    // The names, contents, and whether the answer begins with a line.
    for (const auto& [name, content, hasLine] :
         std::vector<std::tuple<std::string, std::string, bool>>{
             {"a.txt", "hello", true},
             {"tag", "  \n<HTML>", false},
             {"late-tag", blanks + "<P>", false},
             {"late-text", blanks + "P>" + blanks, true},
             {"late-binary", blanks + "P" + blanks + "\x80", false},
             {"tab", "a\tb", false},
             {"delete", "a\x7f", true},
             {"empty", "", true},
             {"zero", std::string("a\0b", 3), false},
             {"x.PnG", "text", false},
             {"x.html.gz", "text", true},
             {"main/main.html", "main", false}}) {
        folder.addFile(name, content);
        EXPECT_EQ((hasLine ? "<PLAINTEXT>\r\n" : "") + content, get(at + name)) << name;
    }
    // On Windows a path has a drive, before which separators may stand.
    const std::string drive = kNamesAreBytes ? "" : "/\\";
    const std::string hello = "<PLAINTEXT>\r\nhello";
    for (const auto& [request, answer] : std::vector<std::pair<std::string, std::string>>{
             {"get " + drive + at + "a.txt HTTP/1.1 HTTP/1.0\n", hello},
             {"GET " + at + "a.txt%00.png HTTP/1.0\n", hello},
             {"GET " + at + "main HTTP/1.0\n", "main"},
             {"GET " + at + "none HTTP/1.0\n", notFound(at + "none")},
             {"GET " + at + "a.txt http/1.0\n", notFound(at + "a.txt http/1.0\n")},
             {"GET " + at + "%2F%2541%A0%a0%C3% HTTP/1.0\n", notFound(at + "%2F%41\x10\x10"
                                                                           "3%")},
             {"GET " + std::string(3000, 'x') + " HTTP/1.0\n", notFound(std::string(1020, 'x'))},
             {"HEAD / HTTP/1.0\r\n\r\n", ""},
         })
        EXPECT_EQ(answer, ask(request)) << request;

    EXPECT_EQ("", askDirectly("GET " + at + "a.txt HTTP/1.0"));  // the line never ends
    if (!kNamesAreBytes)
        return;
    EXPECT_EQ(notFound("/dev/zero"), get("/dev/zero"));
    EXPECT_THAT(get("/proc/self/status"), HasSubstr("\nPid:"));  // has no size before it is read
    EXPECT_EQ(notFound("/proc/self/pagemap"), get("/proc/self/pagemap"));  // and this no end
}

TEST_F(HttpdTest, LogsAndStops) {
    const std::string path = folder.addFile("a.txt", "hello");
    EXPECT_STREQ("localhost", daemon.getHost());
    start();
    platform::CallFaults faults;
    faults.fail(platform::Call::kSend, platform::socket_error::kNoBuffers, 1);  // not the client's
    std::string growing = path;
    const auto grow = [](void* name) {  // once, after its size was asked for
        std::ofstream(*static_cast<std::string*>(name), std::ios::app) << "+";
        static_cast<std::string*>(name)->clear();
    };
    faults.before(platform::Call::kReadFile, grow, &growing);
    EXPECT_EQ("<PLAINTEXT>\r\nhello+", get(path));
    stop();
    EXPECT_EQ("Terminating http daemon\n", messages);
    EXPECT_FALSE(daemon.isOpen());
    EXPECT_EQ(1, daemon.terminate);
    std::string lines = folder.read("log");
    for (std::size_t at; (at = lines.find("received ")) != std::string::npos;)
        lines.replace(at, lines.find(':', at) - at, "got");  // the descriptor may be any
    EXPECT_EQ("ZtHttpd: got: GET " + path +
                  " HTTP/1.0\r\n\n"
                  "ZtHttpd: sending file " +
                  path +
                  " (6 bytes)\n"
                  "ZtHttpd: got: quit\n\n",
              lines);
}

TEST_F(HttpdTest, HandsScriptsToTheCallback) {
    std::string called;
    const std::string file = folder.addFile("a.nw", "script");
    EXPECT_EQ("<PLAINTEXT>\r\nscript", askDirectly("GET " + file + " HTTP/1.0\n"));
    daemon.setNwCallback([](const char*, void*) { throw 1; }, nullptr);
    const int descriptors = countDescriptors();
    EXPECT_THROW(askDirectly("GET /x.nw HTTP/1.0\n"), int);
    EXPECT_EQ(descriptors, countDescriptors());
    daemon.setNwCallback(
        [](const char* path, void* data) { *static_cast<std::string*>(data) += path; }, &called);
    const std::string answer = "HTTP/1.0 204\nCache-Control: max-age=1\n\n";
    for (const std::string path : {"/cgi-bin/run.nw", "/x/cgi-bin/cgi-bin.iv", "cgi-bin.nw"})
        EXPECT_EQ(answer, askDirectly("GET " + path + " HTTP/1.0\n"));
    for (const std::string path : {"/run.NW", "/run.nw?x=1", "/run.nw/x"})
        EXPECT_EQ(notFound(path), askDirectly("GET " + path + " HTTP/1.0\n"));
    EXPECT_EQ("/run.nw/x/cgi-bin.iv.nw", called);
}

TEST_F(HttpdTest, KeepsToItsRestrictions) {
    const std::string root = folder.addFolder("root");
    const std::string outside = folder.addFile("secret", "secret");
    folder.addFolder("root/sub");
    folder.addFolder("rootless");
    folder.addFile("root/a", "inside");
    folder.addFile("root/index.html", "index");
    folder.addFile("root/big", std::string(1001, 'x'));
    folder.addFile("rootless/secret", "secret");
    daemon.setDocumentRoot(root.c_str());
    daemon.setMaxFileSize(1000);
    daemon.setQuit(ZtHttpd::QUIT_FROM_NOBODY);
    EXPECT_EQ("", askDirectly("QUIT\n"));
    EXPECT_TRUE(daemon.isOpen());
    daemon.setQuit(ZtHttpd::QUIT_FROM_LOCAL_HOST);
    daemon.setReceiveTimeLimit(200);
    daemon.setEscapesPaths(true);
    start();
    const std::string inside = "<PLAINTEXT>\r\ninside";
    for (const char* path : {"/a", "a", "/sub/../a", "/../root/a"})
        EXPECT_EQ(inside, get(path)) << path;
    EXPECT_EQ("index", get("/"));
    for (const std::string path :
         {"/../secret", "/../rootless/secret", "/%2e%2e/secret", "/..\\secret", "/big", "/sub"})
        EXPECT_EQ(notFound(path), get(path)) << path;
    EXPECT_EQ(notFound(outside), get(outside));
    EXPECT_EQ(notFound("&lt;a b=&quot;&#39;&amp;&gt;"), get("<a b=\"'&>"));
    if (kNamesAreBytes) {
        namespace fs = std::filesystem;
        fs::create_symlink("a", root + "/in");
        fs::create_symlink("../secret", root + "/out");
        fs::create_symlink("..", root + "/up");
        fs::create_symlink("loop", root + "/loop");
        EXPECT_EQ(inside, get("/in"));
        EXPECT_EQ(inside, get("/up/root/a"));
        for (const std::string path : {"/out", "/up/secret", "/up", "/loop"})
            EXPECT_EQ(notFound(path), get(path)) << path;
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ("", ask("GET /a HTTP/1.0"));  // and no line feed
    EXPECT_GT(secondsSince(begin), 0.19);
}

long long residentKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (long long size; word == "VmRSS:" && status >> size)
            return size;
    return 0;
}

TEST_F(HttpdTest, OutlivesClientsThatBehaveBadly) {
    const std::string path = folder.addFile("a.txt", "hello");
    const std::string big = folder.addFile("big.png", std::string(32 << 20, '\x80'));
    const std::string request = "GET " + path + " HTTP/1.0\r\nHost: x\r\n\r\n";
    start();
    const int descriptors = countDescriptors();
    const auto expectServed = [&] { EXPECT_EQ("<PLAINTEXT>\r\nhello", ask(request)); };
    expectServed();
    long long memory = residentKilobytes();
    const auto expectNothingLeft = [&](const char* client) {
        SCOPED_TRACE(client);
        expectServed();
        EXPECT_LT(kKeepsFreedMemory ? 0 : residentKilobytes() - memory, 4096);
        memory = residentKilobytes();
        // The daemon closes its side after the client.
        for (int i = 0; i < 2000 && countDescriptors() != descriptors; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(descriptors, countDescriptors());
    };
    std::vector<char> part(1 << 20);

    int fd = connect();
    for (const char c : "GET / HTTP/1.0\n") {
        sendText(fd, std::string(1, c));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ZtSocket::close(fd);
    expectNothingLeft("sends a byte every 10 ms");

    fd = connect();
    sendText(fd, "GET " + big + " HTTP/1.0\r\n");
    ZtSocket::receive(fd, part.data(), 1000, 0);
    ZtSocket::close(fd);
    expectNothingLeft("resets in the middle of the answer");

    ZtSocket::close(connect());
    expectNothingLeft("is gone before the request");

    ask(std::string(10 << 20, 'x'));
    expectNothingLeft("sends 10 MB without a line feed");

    for (int i = 0; i < (kNamesAreBytes ? 500 : 50); ++i)  // Wine takes 10 ms for each
        expectServed();
    expectNothingLeft("comes 500 times in a row");

    std::vector<std::thread> threads;
    for (int i = 0; i < 50; ++i)
        threads.emplace_back(expectServed);
    for (std::thread& thread : threads)
        thread.join();
    expectNothingLeft("comes 50 times at once");

    fd = connect();
    sendText(fd, "GET " + big + " HTTP/1.0\r\nHost: nobody reads this\r\n\r\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    for (int i = 0; i < 32; ++i)
        EXPECT_EQ(1 << 20, ZtSocket::receive(fd, part.data(), 1 << 20, 0));
    ZtSocket::close(fd);
    expectNothingLeft("reads late");

    fd = connect();
    const std::clock_t processor = std::clock();
    const auto begin = std::chrono::steady_clock::now();
    CaptureStderr();
    sendText(fd, "GET " + big + " HTTP/1.0\r\n");
    expectServed();  // eleven times half a second later
    const double seconds = secondsSince(begin);
    EXPECT_THAT(GetCapturedStderr(), HasSubstr("send: "));
    EXPECT_GT(seconds, 5.4);
    const double used = static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC;
    // Elsewhere the clock of the processor is that of the wall.
    EXPECT_LT(used, kNamesAreBytes ? 0.02 * seconds : 2 * seconds);
    ZtSocket::close(fd);
    expectNothingLeft("never reads");
}

}  // namespace
