// Measures ours against a peer on the same work, in turn, and reports how many times as fast ours
// is.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One comparison. `ours` and `peer` each do the whole work once; `same` (may be empty) tells,
/// after both ran, whether they gave the same answer. `bar` is the least ratio that is meant, 0 for
/// none. `items` is how many things the work goes through, where their rate is to be reported.
struct Comparison {
    std::string work;
    std::string peerName;
    double bar = 0;
    std::function<void()> ours;
    std::function<void()> peer;
    std::function<bool()> same;
    double items = 0;
};

/// Runs `work` often enough to fill `seconds` and returns the seconds of one run.
inline double timeOnce(const std::function<void()>& work, int repeats) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i)
        work();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return passed.count() / repeats;
}

/// How often `work` must run so that one measurement lasts long enough for the clock.
inline int repeatsFor(const std::function<void()>& work) {
    constexpr double kLeastSeconds = 0.01;
    int repeats = 1;
    while (timeOnce(work, repeats) * repeats < kLeastSeconds && repeats < (1 << 24))
        repeats *= 2;
    return repeats;
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/// Interleaves ours and the peer, one measurement of each per benchmark iteration, and reports the
/// medians and their ratio (counter `ratio`: peer time / our time, so 2 is twice as fast).
inline void run(benchmark::State& state, const Comparison& comparison) {
    comparison.ours();
    comparison.peer();
    if (comparison.same && !comparison.same()) {
        state.SkipWithError("ours and the peer gave different answers");
        return;
    }
    const int oursRepeats = repeatsFor(comparison.ours);
    const int peerRepeats = repeatsFor(comparison.peer);
    std::vector<double> ours;
    std::vector<double> peer;
    for (auto _ : state) {
        ours.push_back(timeOnce(comparison.ours, oursRepeats));
        peer.push_back(timeOnce(comparison.peer, peerRepeats));
        state.SetIterationTime(ours.back());
    }
    state.counters["ours_ns"] = median(ours) * 1e9;
    state.counters["peer_ns"] = median(peer) * 1e9;
    state.counters["ratio"] = median(peer) / median(ours);
    state.counters["bar"] = comparison.bar;
    if (comparison.items > 0)
        state.counters["items_per_second"] = comparison.items / median(ours);
    state.SetLabel("peer: " + comparison.peerName);
}

/// Registers a comparison under its name, with as many interleaved rounds as `rounds`.
inline void add(Comparison comparison, int rounds = 15) {
    const std::string name = comparison.work;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [comparison](benchmark::State& state) { run(state, comparison); })
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace bench
