#pragma once

// Header-only: each benchmark program compiles it once.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

// The times of the timed calls of one benchmark run, kept one by one so that
// the run can report their median and 99th percentile (nearest rank), which a
// mean hides. With time(state, ...) each call also becomes the benchmark's
// manual iteration time, so the time column is the mean call; with add() the
// caller times something else (a call inside a longer scenario) itself.
//
// One thread: the benchmark's own.
class CallTimes {
public:
    using Clock = std::chrono::steady_clock;

    explicit CallTimes(int64_t expected = 0) { mNs.reserve(size_t(std::max<int64_t>(expected, 0))); }

    template <typename Call>
    void time(benchmark::State& state, Call&& call)
    {
        const int64_t ns = measure(call);
        mNs.push_back(ns);
        state.SetIterationTime(double(ns) * 1e-9);
    }

    // The duration of `call` in nanoseconds, not recorded.
    template <typename Call>
    static int64_t measure(Call&& call)
    {
        const Clock::time_point start = Clock::now();
        call();
        return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
    }

    void add(int64_t ns) { mNs.push_back(ns); }
    size_t count() const { return mNs.size(); }

    // Nearest-rank percentile in µs; 0 without samples.
    double percentileUs(double percent) const
    {
        if (mNs.empty())
            return 0;
        std::vector<int64_t> sorted = mNs;
        const auto rank = size_t(percent / 100.0 * double(sorted.size() - 1) + 0.5);
        std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(rank), sorted.end());
        return double(sorted[rank]) / 1000.0;
    }

    double maxUs() const { return mNs.empty() ? 0 : double(*std::max_element(mNs.begin(), mNs.end())) / 1000.0; }

    double meanUs() const
    {
        if (mNs.empty())
            return 0;
        double sum = 0;
        for (int64_t ns : mNs)
            sum += double(ns);
        return sum / double(mNs.size()) / 1000.0;
    }

    // <prefix>median_us and <prefix>p99_us.
    void report(benchmark::State& state, const std::string& prefix = std::string()) const
    {
        state.counters[prefix + "median_us"] = percentileUs(50);
        state.counters[prefix + "p99_us"] = percentileUs(99);
    }

private:
    std::vector<int64_t> mNs;
};
