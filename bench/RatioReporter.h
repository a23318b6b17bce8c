#pragma once

// A console reporter that also prints, after the usual table, how many times faster each
// "<case>/yarkit" ran than "<case>/<peer>": the ratio of the median times, and with
// --benchmark_repetitions the lowest and highest ratio of the repeats taken in order.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace yk::bench {

// Remembers each repeat's CPU time (steadier than wall time on a shared machine) so the ratios
// can be printed after the usual table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            // Keyed without the "/threads:2" or "/iterations:20" suffixes; a case measured in
            // real time (its work runs in a child process) is compared in real time.
            const bool realTime = !run.run_name.time_type.empty();
            times[run.run_name.function_name].push_back(realTime ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime());
        }
    }

    // One line per (case, peer): how many times faster yarkit is, beside the goal.
    void printRatios(const std::vector<std::pair<std::string, std::string>>& pairs, const std::map<std::string, double>& goals) const
    {
        std::printf("\n%-32s %-14s %9s %15s %7s\n", "case", "peer", "speed-up", "repeats", "goal");
        for (const auto& [name, peer] : pairs) {
            auto ours = times.find(name + "/yarkit");
            auto theirs = times.find(name + "/" + peer);
            if (ours == times.end() || theirs == times.end())
                continue;
            // A goal for one peer ("case/peer") wins over the case's goal; none prints 0.
            auto goal = goals.find(name + "/" + peer);
            if (goal == goals.end())
                goal = goals.find(name);
            const double target = goal == goals.end() ? 0.0 : goal->second;
            const auto [low, high] = repeatRange(theirs->second, ours->second);
            char range[48];
            std::snprintf(range, sizeof range, "%.2f-%.2fx", low, high);
            std::printf("%-32s %-14s %8.2fx %15s %6.2fx\n", name.c_str(), peer.c_str(), median(theirs->second) / median(ours->second), range,
                target);
        }
    }

    static double median(std::vector<double> values)
    {
        std::sort(values.begin(), values.end());
        const size_t middle = values.size() / 2;
        return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    }

    // The lowest and highest ratio of the i-th repeat of the peer to the i-th of ours.
    static std::pair<double, double> repeatRange(const std::vector<double>& theirs, const std::vector<double>& ours)
    {
        double low = theirs[0] / ours[0];
        double high = low;
        for (size_t i = 1; i < std::min(theirs.size(), ours.size()); ++i) {
            low = std::min(low, theirs[i] / ours[i]);
            high = std::max(high, theirs[i] / ours[i]);
        }
        return { low, high };
    }

    std::map<std::string, std::vector<double>> times;
};

// Runs the registered benchmarks with the reporter, then prints the speed-ups of the pairs.
inline int runAndPrintRatios(int& argc, char** argv, const std::vector<std::pair<std::string, std::string>>& pairs,
    const std::map<std::string, double>& goals)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    reporter.printRatios(pairs, goals);
    return 0;
}

} // namespace yk::bench
