#pragma once

// A console reporter that remembers each benchmark's CPU time (steadier than wall time on a
// shared machine), so that the ratios of "<case>/yarkit" against "<case>/<peer>" can be
// printed after the usual table.

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace yk::bench {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times[run.benchmark_name()] = run.GetAdjustedCPUTime();
        }
    }

    // One line per (case, peer): how many times faster yarkit is, beside the goal.
    void printRatios(const std::vector<std::pair<std::string, std::string>>& pairs, const std::map<std::string, double>& goals) const
    {
        std::printf("\n%-32s %-14s %9s %7s\n", "case", "peer", "speed-up", "goal");
        for (const auto& [name, peer] : pairs) {
            auto ours = times.find(name + "/yarkit");
            auto theirs = times.find(name + "/" + peer);
            if (ours == times.end() || theirs == times.end())
                continue;
            auto goal = goals.find(name);
            std::printf("%-32s %-14s %8.2fx %6.2fx\n", name.c_str(), peer.c_str(), theirs->second / ours->second,
                goal == goals.end() ? 0.0 : goal->second);
        }
    }

    std::map<std::string, double> times;
};

} // namespace yk::bench
