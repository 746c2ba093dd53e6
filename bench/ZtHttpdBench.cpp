// The file server against nginx with one worker and without keep-alive: a large file to curl, small
// files one connection each; and the processor time that a slow client costs.
#include <sys/wait.h>
#include <unistd.h>
#include <ztlib/ZtHttpd.h>
#include <ztlib/ZtSocket.h>
#include <csignal>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Compare.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSmallFiles = 1000;
constexpr long long kBigFile = 100'000'000;
const char* const kNginx = "/usr/sbin/nginx";

// The files that both serve.
struct Folder {
    fs::path path = fs::temp_directory_path() / ("ztlib-httpd-bench-" + std::to_string(getpid()));
    Folder() {
        fs::create_directories(path / "www");
        fs::permissions(path, fs::perms::others_exec, fs::perm_options::add);
        std::ofstream big(path / "www/big.png", std::ios::binary);
        // curl takes no answer without a header that has no line feed for long.
        std::string part(100'000, '\x80');
        for (std::size_t i = 0; i < part.size(); ++i)
            part[i] = static_cast<char>(i * 31 % 256);
        for (long long written = 0; written < kBigFile; written += 100'000)
            big << part;
        for (int i = 0; i < kSmallFiles; ++i)
            std::ofstream(path / ("www/" + std::to_string(i) + ".html")) << std::string(2000, 'x');
    }
    ~Folder() { fs::remove_all(path); }
};

// A server in a process of its own, with its processor time.
struct Server {
    int port = 0;
    pid_t process = -1;

    ~Server() {
        if (process < 0)
            return;
        kill(process, SIGTERM);
        waitpid(process, nullptr, 0);
    }
    double processorSeconds() const {
        clockid_t clock;
        timespec time{};
        if (clock_getcpuclockid(process, &clock) == 0)
            clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }
};

struct Ours : Server {
    explicit Ours(const fs::path& folder) {
        ZtHttpd daemon(18500, nullptr, ZtHttpd::LOCAL_HOST_ONLY);
        port = daemon.port;
        daemon.setDocumentRoot((folder / "www").c_str());
        process = fork();
        if (process != 0) {
            close(daemon.fd);  // without shutting it down for the other process
            daemon.fd = -1;
            return;
        }
        if (!std::freopen("/dev/null", "w", stdout))
            _exit(1);
        daemon.mainLoop();
        _exit(0);
    }
};

struct Nginx : Server {
    explicit Nginx(const fs::path& folder) {
        if (access(kNginx, X_OK) != 0)
            return;
        {
            ZtServerSocket free(0);
            port = free.openLocalSocket(18600, -100);
        }
        const std::string at = folder.string();
        std::ofstream(folder / "nginx.conf")
            << "daemon off; master_process off; worker_processes 1; pid " << at << "/pid;\n"
            << "error_log " << at << "/errors;\nevents {}\nhttp { access_log off; sendfile on;\n"
            << "tcp_nopush on; keepalive_timeout 0; client_body_temp_path " << at << "/b;\n"
            << "proxy_temp_path " << at << "/p; fastcgi_temp_path " << at << "/f;\n"
            << "uwsgi_temp_path " << at << "/u; scgi_temp_path " << at << "/s;\n"
            << "server { listen 127.0.0.1:" << port << "; root " << at << "/www; } }\n";
        process = fork();
        if (process == 0) {
            execl(kNginx, kNginx, "-c", (at + "/nginx.conf").c_str(), "-e",
                  (at + "/errors").c_str(), static_cast<char*>(nullptr));
            _exit(1);
        }
        for (int i = 0; i < 100; ++i) {
            const int connection = ZtSocket::connect("127.0.0.1", port, 0);
            if (connection >= 0) {
                ZtSocket::close(connection);
                return;
            }
            usleep(20000);
        }
        process = -1;
    }
};

// How many bytes curl gets of the large file.
long long fetchBig(const Server& server) {
    const std::string command =
        "curl --silent --http0.9 --output /dev/null --write-out '%{size_download}' "
        "http://127.0.0.1:" +
        std::to_string(server.port) + "/big.png";
    long long size = 0;
    if (FILE* const pipe = popen(command.c_str(), "r")) {
        if (std::fscanf(pipe, "%lld", &size) != 1)
            size = 0;
        pclose(pipe);
    }
    return size;
}

// How many of the small files come whole.
int fetchSmall(const Server& server) {
    std::vector<char> answer(4096);
    int whole = 0;
    for (int i = 0; i < kSmallFiles; ++i) {
        const int connection = ZtSocket::connect("127.0.0.1", server.port, 0);
        ZtSocket::send(connection, "GET /%d.html HTTP/1.0\r\n\r\n", i);
        std::size_t size = 0;
        for (ssize_t part;
             (part = read(connection, answer.data() + size, answer.size() - size)) > 0;)
            size += static_cast<std::size_t>(part);
        whole += size >= 2000 && answer[size - 1] == 'x';
        ZtSocket::close(connection);
    }
    return whole;
}

// Seconds of a client that asks and reads slowly.
double readSlowly(const Server& server) {
    const auto start = std::chrono::steady_clock::now();
    const int connection = ZtSocket::connect("127.0.0.1", server.port, 0);
    for (const char c : std::string("GET /big.png HTTP/1.0\r\n")) {
        ZtSocket::send(connection, "%c", c);
        usleep(10000);
    }
    std::vector<char> part(4096);
    for (int i = 0; i < 200; ++i) {
        ZtSocket::receive(connection, part.data(), 4096, 0);
        usleep(10000);
    }
    ZtSocket::close(connection);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void runSlowClient(benchmark::State& state, const Server& server) {
    for (auto _ : state) {
        const double before = server.processorSeconds();
        const double passed = readSlowly(server);
        const double used = server.processorSeconds() - before;
        state.SetIterationTime(used);
        state.counters["ours_ns"] = used * 1e9;
        state.counters["peer_ns"] = 0.02 * passed * 1e9;
        state.counters["ratio"] = 0.02 * passed / used;
        state.counters["bar"] = 1;
    }
    state.SetLabel("peer: 2 % of the time that passes");
}

void add(const Nginx& nginx, const bench::Comparison& comparison, int rounds) {
    if (nginx.process >= 0) {
        bench::add(comparison, rounds);
        return;
    }
    benchmark::RegisterBenchmark(comparison.work.c_str(), [](benchmark::State& state) {
        state.SkipWithError("nginx is not installed or does not start");
    });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    const Ours ours(folder.path);
    const Nginx nginx(folder.path);
    add(nginx,
        {"httpd/100 MB to curl", "nginx", 0.7, [&] { fetchBig(ours); }, [&] { fetchBig(nginx); },
         [&] { return fetchBig(ours) == kBigFile && fetchBig(nginx) == kBigFile; }},
        15);
    add(nginx,
        {"httpd/1000 small files, a connection each", "nginx", 0.7, [&] { fetchSmall(ours); },
         [&] { fetchSmall(nginx); },
         [&] { return fetchSmall(ours) == kSmallFiles && fetchSmall(nginx) == kSmallFiles; },
         kSmallFiles},
        7);
    benchmark::RegisterBenchmark("httpd/processor time for a slow client",
                                 [&](benchmark::State& state) { runSlowClient(state, ours); })
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
}
