#pragma once

// Helpers shared by the core's tests.

#include <Yarkit/core/runtime/Range.h>
#include <Yarkit/core/values/Exception.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

namespace yk {

// Lets a failing EXPECT_EQ on ranges print them.
inline void PrintTo(Range range, std::ostream* out)
{
    *out << "{" << range.location << ", " << range.length << "}";
}

} // namespace yk

namespace yk::test {

inline Ref<String> str(const char* utf8)
{
    return String::withUTF8(utf8);
}

// The object's description, or "(null)".
inline std::string describe(const Object* object)
{
    return object ? object->description()->utf8() : "(null)";
}

// Runs body and checks that it raises a yk::Exception of the given name and reason (or, when
// partial, a reason that contains the given one).
inline void expectRaise(const std::function<void()>& body, const char* name, const std::string& reason, bool partial = false)
{
    try {
        body();
        ADD_FAILURE() << "no exception; expected " << name << ": " << reason;
    } catch (const Exception& e) {
        const std::string what = e.what();
        EXPECT_EQ(e.name()->utf8(), name);
        EXPECT_TRUE(partial ? what.find(reason) != std::string::npos : what == reason) << "reason: " << what << "\nexpected: " << reason;
    }
}

} // namespace yk::test
