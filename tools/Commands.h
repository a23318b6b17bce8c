#pragma once

// The tool's commands. Each takes the whole argument vector and the index of its first own
// argument, and returns the exit status.

namespace yk::tool {

int runDetect(int argc, char** argv, int first);
int runRepair(int argc, char** argv, int first);
int runToUTF8(int argc, char** argv, int first);
int runBase64(int argc, char** argv, int first);
int runSize(int argc, char** argv, int first);
int runDate(int argc, char** argv, int first);
int runUTF7(int argc, char** argv, int first);
int runIDN(int argc, char** argv, int first);
int runRegex(int argc, char** argv, int first);
int runDigest(int argc, char** argv, int first);
int runPassword(int argc, char** argv, int first);
int runNewlines(int argc, char** argv, int first);
int runMime(int argc, char** argv, int first);
int runHandler(int argc, char** argv, int first);

} // namespace yk::tool
