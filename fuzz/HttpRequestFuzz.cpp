// Request lines of the file server, which is kept to a folder with a secret beside it.
#include <ztlib/ZtHttpd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "SocketPair.h"
#include "TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongest = 1024;
const std::string kScriptAnswer = "HTTP/1.0 204\nCache-Control: max-age=1\n\n";

struct Daemon : ZtHttpd {
    using ZtHttpd::interprete;

    TemporaryFolder folder{"fuzz"};
    int calls = 0;

    Daemon() : ZtHttpd(0, nullptr, LOCAL_HOST_ONLY) {
        const fs::path root = folder.path() / "root";
        folder.addFolder("root/d");
        folder.addFile("s", "secret");
        folder.addFile("root/a", "text");
        folder.addFile("root/b.png", "picture");
        folder.addFile("root/d/index.html", "index");
        fs::create_symlink("../s", root / "l");
        fs::create_symlink("..", root / "u");
        setDocumentRoot(root.c_str());
        setQuit(QUIT_FROM_NOBODY);
        setNwCallback([](const char*, void* count) { ++*static_cast<int*>(count); }, &calls);
        FUZZ_EXPECT(std::freopen("/dev/null", "w", stdout));
    }
};

bool isAnswer(const std::string& answer) {
    for (const char* known : {"", "<PLAINTEXT>\r\ntext", "picture", "index"})
        if (answer == known)
            return true;
    const std::string start = "<HTML><BODY>Can't open file ";
    const std::string end = "</BODY></HTML>\n";
    return answer.size() >= start.size() + end.size() &&
           answer.compare(0, start.size(), start) == 0 &&
           answer.compare(answer.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Daemon daemon;
    static const SocketPair pair;  // the answers leave nothing in it
    // Of just the size that it has, so that nothing beyond it is touched unseen.
    std::vector<char> request(data, data + std::min(size, kLongest));
    request.push_back('\0');
    const int callsBefore = daemon.calls;
    FUZZ_EXPECT(daemon.interprete(pair.theirs(), request.data()) == 1);
    const std::string answer = pair.receiveAll();
    if (daemon.calls != callsBefore)
        FUZZ_EXPECT(answer == kScriptAnswer);
    else
        FUZZ_EXPECT(isAnswer(answer));
    FUZZ_EXPECT(daemon.isOpen());
    return 0;
}
