// Operation sequences on a YCStringPool over arbitrary bytes, against a std::map oracle: equal
// contents give the first pooled pointer until reset, NoCopy strings are owned only when new,
// and the count matches. ASan checks that every pooled string is freed once.
#include <Yarkit/YCStringPool.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto pool = yk::make<yk::YCStringPool>();
    std::map<std::string, const char*> oracle;
    size_t at = 0;
    while (at < size) {
        const uint8_t operation = data[at++];
        if (operation % 8 == 7) {
            pool->reset();
            oracle.clear();
            continue;
        }
        // A string of up to 15 bytes, cut at its first zero.
        size_t length = std::min<size_t>(operation >> 4, size - at);
        std::string text(reinterpret_cast<const char*>(data + at), length);
        at += length;
        text = text.c_str();
        const bool copy = operation % 2 == 0;
        char* argument = copy ? nullptr : strdup(text.c_str());
        const char* pooled = copy ? pool->pooledCString(text.c_str()) : pool->pooledCStringNoCopy(argument);
        auto known = oracle.find(text);
        if (known != oracle.end()) {
            if (pooled != known->second)
                std::abort();
            std::free(argument); // already pooled: still ours
        } else {
            if (std::strcmp(pooled, text.c_str()) != 0 || (argument && pooled != argument))
                std::abort();
            oracle.emplace(text, pooled);
        }
        if (pool->count() != oracle.size())
            std::abort();
    }
    return 0;
}
