#pragma once

// Runs one job per input file on the background job center, at most N at a time, and hands each
// result to the main thread, which prints them in the files' order.

#include <functional>
#include <string>
#include <vector>

namespace yk::tool {

struct Arguments;

// Reads -j N or --jobs N (1 to 1024) into jobs; 0 when neither is given. False when the value
// is not such a number.
bool parseJobCount(const Arguments& arguments, unsigned& jobs);

// What one file's job produced: text for standard output and standard error, and its status.
struct FileResult {
    std::string out;
    std::string err;
    int status { 0 };
};

// Runs work(index) for each of count files in jobs (a center delegate keeps at most `parallel`
// running) and prints each result in index order on the main thread as soon as it and those
// before it are done. Ctrl-C cancels the waiting jobs, aborts the running ones (work sees
// `cancelled` turn true) and makes the call return 130. Otherwise the highest status.
int runFileJobs(size_t count, unsigned parallel, const std::function<FileResult(size_t index, const bool& cancelled)>& work);

} // namespace yk::tool
