// Peers that run outside this process: Python scripts of this folder, which time their work
// themselves.
#pragma once

#include <cstdio>
#include <string>

#include "Compare.h"

namespace bench {

/// What a script prints: the seconds of its work and, if it counts something, how much; 0 seconds
/// where it cannot run.
struct ScriptResult {
    double seconds = 0;
    long long count = 0;
};

/// Runs a script with its arguments: "scipy_label.py FILE 256".
inline ScriptResult runScript(const std::string& scriptAndArguments) {
    ScriptResult result;
    const std::string command = "/usr/bin/python3 " ZTLIB_BENCH_DIR "/" + scriptAndArguments;
    if (FILE* const pipe = popen(command.c_str(), "r")) {
        if (std::fscanf(pipe, "%lf %lld", &result.seconds, &result.count) < 1)
            result.seconds = 0;
        pclose(pipe);
    }
    return result;
}

/// Measures ours in a benchmark of its own and reports it beside the seconds of a script.
inline void runAgainst(benchmark::State& state, const std::string& peerName, double peerSeconds,
                       double bar, const std::function<void()>& ours) {
    if (peerSeconds == 0) {
        state.SkipWithError("scipy is not installed");
        return;
    }
    std::vector<double> seconds;
    for (auto _ : state) {
        seconds.push_back(timeOnce(ours, 1));
        state.SetIterationTime(seconds.back());
    }
    state.counters["ours_ns"] = median(seconds) * 1e9;
    state.counters["peer_ns"] = peerSeconds * 1e9;
    state.counters["ratio"] = peerSeconds / median(seconds);
    state.counters["bar"] = bar;
    state.SetLabel("peer: " + peerName);
}

}  // namespace bench
