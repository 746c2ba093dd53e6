// A file server for the programs of this computer: serves a directory, runs scripts, stops on QUIT.
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtHttpd.h>
#include <ztlib/ZtSocket.h>

#include <cstdio>
#include <cstdlib>

// Keeps the daemon to what it is for. By default it serves every file to every host.
void restrict(ZtHttpd& daemon, const char* directory) {
    daemon.setDocumentRoot(directory);
    daemon.setQuit(ZtHttpd::QUIT_FROM_LOCAL_HOST);
    daemon.setReceiveTimeLimit(5000);
    daemon.setMaxFileSize(1000000000);
    daemon.setEscapesPaths(true);
}

// Stands for what an application does when somebody follows a link to a script.
void runScript(const char* path, void* count) {
    std::printf("script %s\n", path);
    ++*static_cast<int*>(count);
}

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: fileserver DIRECTORY [PORT]\n");
        return 2;
    }
    if (!ZtDirectory::isDirectory(argv[1])) {
        std::fprintf(stderr, "'%s' is no directory\n", argv[1]);
        return 1;
    }
    const int port = argc == 3 ? std::atoi(argv[2]) : 8080;
    ZtHttpd daemon(port, nullptr, ZtHttpd::LOCAL_HOST_ONLY);
    if (!daemon.isOpen()) {
        std::fprintf(stderr, "no port is free: %s\n", ZtSocket::strerror());
        return 1;
    }
    restrict(daemon, argv[1]);
    int scripts = 0;
    daemon.setNwCallback(runScript, &scripts);
    std::printf("serving %s at http://%s:%d/\n", argv[1], daemon.getHost(), daemon.port);
    std::fflush(stdout);
    daemon.mainLoop();
    std::printf("%d scripts were run\n", scripts);
    return 0;
}
