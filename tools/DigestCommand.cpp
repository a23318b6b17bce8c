#include "tools/Commands.h"

#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include <Yarkit/DataMessageDigests.h>
#include <Yarkit/core/values/Exception.h>

#include "tools/CommandLine.h"

namespace yk::tool {

namespace {

constexpr const char* digestHelp = R"(Usage: yarkit digest --algorithm NAME [--hmac-key-hex HEX] [FILE...]
       yarkit digest --list

Prints the message digest of FILE (standard input when none is given, or for "-") in
lower-case hexadecimal. NAME is any name libcrypto knows, aliases included ("MD5", "sha1",
"SHA-256", "RSA-SHA256", "whirlpool"). With --hmac-key-hex, prints the HMAC with the key
given in hexadecimal instead ("" is the empty key). With several files, prints one line per
file: the hex, two spaces and the file's name.

  --algorithm NAME     the digest to compute
  --hmac-key-hex HEX   compute an HMAC with this key
  --list               print the digest names libcrypto knows, one a line
  --help               show this help

Exit status: 0 on success, 2 on an unknown algorithm, bad hex, bad usage or an unreadable file.
)";

std::optional<std::string> decodeHex(const std::string& text)
{
    if (text.size() % 2)
        return std::nullopt;
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        uint8_t byte = 0;
        const char* pair = text.data() + i;
        if (std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2)
            return std::nullopt;
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

int listNames()
{
    auto names = messageDigestAlgorithmNames();
    for (uint32_t i = 0; i < names->count(); ++i)
        std::printf("%s\n", names->objectAtIndex(i)->description()->utf8().c_str());
    return ExitSuccess;
}

} // namespace

int runDigest(int argc, char** argv, int first)
{
    const CommandSpec spec { "digest", digestHelp,
        { { "--algorithm", true }, { "--hmac-key-hex", true }, { "--list", false }, { "--help", false } } };
    int status = ExitSuccess;
    auto arguments = parseCommandLine(spec, argc, argv, first, status);
    if (!arguments)
        return status;
    if (arguments->has("--list"))
        return listNames();
    if (!arguments->has("--algorithm"))
        return usageError("digest", "--algorithm NAME is required");

    auto algorithm = String::withUTF8(arguments->options["--algorithm"]);
    Ref<Data> key;
    if (arguments->has("--hmac-key-hex")) {
        auto bytes = decodeHex(arguments->options["--hmac-key-hex"]);
        if (!bytes)
            return usageError("digest", "the key is not hexadecimal: '" + arguments->options["--hmac-key-hex"] + "'");
        key = Data::dataWithString(*bytes);
    }

    const auto names = arguments->inputNames();
    for (const auto& name : names) {
        auto input = readInput(name);
        if (!input)
            return ExitError;
        try {
            auto hex = key ? hexHMACWithKey(input->data.get(), key.get(), algorithm.get())
                           : hexDigestUsingAlgorithm(input->data.get(), algorithm.get());
            if (names.size() == 1)
                std::printf("%s\n", hex->utf8().c_str());
            else
                std::printf("%s  %s\n", hex->utf8().c_str(), name.c_str());
        } catch (const Exception& e) {
            std::fprintf(stderr, "yarkit digest: %s\n", e.what());
            return ExitError;
        }
    }
    return std::fflush(stdout) == 0 ? ExitSuccess : ExitError;
}

} // namespace yk::tool
