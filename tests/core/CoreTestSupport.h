#pragma once

// Helpers shared by the core's tests.

#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace yk::test {

inline Ref<String> str(const char* utf8)
{
    return String::withUTF8(utf8);
}

// Runs body and checks that it raises a yk::Exception of the given name and reason.
inline void expectRaise(const std::function<void()>& body, const char* name, const std::string& reason)
{
    try {
        body();
        ADD_FAILURE() << "no exception; expected " << name << ": " << reason;
    } catch (const Exception& e) {
        EXPECT_EQ(e.name()->utf8(), name);
        EXPECT_EQ(std::string(e.what()), reason);
    }
}

} // namespace yk::test
