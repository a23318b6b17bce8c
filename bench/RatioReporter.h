#pragma once

// A console reporter that also prints, after the usual table, how many times faster each
// "<case>/yarkit" ran than "<case>/<peer>".

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace yk::bench {

// Remembers each benchmark's CPU time (steadier than wall time on a shared machine) so the
// ratios can be printed after the usual table.
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
            times[run.run_name.function_name] = realTime ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
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
            // A goal for one peer ("case/peer") wins over the case's goal; none prints 0.
            auto goal = goals.find(name + "/" + peer);
            if (goal == goals.end())
                goal = goals.find(name);
            const double target = goal == goals.end() ? 0.0 : goal->second;
            std::printf("%-32s %-14s %8.2fx %6.2fx\n", name.c_str(), peer.c_str(), theirs->second / ours->second, target);
        }
    }

    std::map<std::string, double> times;
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
