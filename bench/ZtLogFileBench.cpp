// Log lines against what one would write for the purpose: fprintf with the local time of each line.
#include <ztlib/ZtLogFile.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Compare.h"

namespace {

namespace fs = std::filesystem;

constexpr int kLines = 50000;
const char* const kModule = "volume";
const char* const kText = "read slice 117 of 256 from /data/subject-017/t1-weighted.nii";

struct Folder {
    fs::path path =
        fs::temp_directory_path() / ("ztlib-log-bench-" + std::to_string(time(nullptr)));
    Folder() { fs::create_directory(path); }
    ~Folder() { fs::remove_all(path); }
    std::string of(const char* name) const { return (path / name).string(); }
};

// The file without the stamps, which are of the same length everywhere.
std::string withoutStamps(const std::string& file) {
    constexpr std::size_t kStamp = sizeof "hh:mm:ss.mmm: " - 1;
    std::ifstream in(file);
    std::ostringstream text;
    for (std::string line; std::getline(in, line);)
        text << line.substr(std::min(kStamp, line.size())) << '\n';
    return text.str();
}

void writeOurs(ZtLogFile& log, const std::string& folder) {
    log.open(folder.c_str());
    for (int i = 0; i < kLines; ++i)
        log.trace(ZtLogWarning, kModule, kText);
    log.close();
}

void writePeers(const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "w");
    for (int i = 0; i < kLines; ++i) {
        timespec now = {};
        std::timespec_get(&now, TIME_UTC);
        const std::tm* const local = std::localtime(&now.tv_sec);
        std::fprintf(file, "%02d:%02d:%02d.%03d: %c [%s] %s\n", local->tm_hour, local->tm_min,
                     local->tm_sec, static_cast<int>(now.tv_nsec / 1000000), 'W', kModule, kText);
    }
    std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    ZtLogFile log;
    log.setMaxNumLogFiles(1);
    const std::string ours = folder.of("ours");
    const std::string peer = folder.of("peer.log");
    bench::add({"log/50000 lines to a file, no flush", "fprintf and localtime", 2,
                [&] { writeOurs(log, ours); }, [&] { writePeers(peer); },
                [&] { return withoutStamps(log.logFile().getString()) == withoutStamps(peer); },
                kLines});
    benchmark::RunSpecifiedBenchmarks();
}
