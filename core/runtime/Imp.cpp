#include <Yarkit/core/runtime/Imp.h>

#include <Yarkit/core/runtime/Class.h>

#include "core/runtime/RuntimeErrors.h"

#include <cxxabi.h>
#include <deque>
#include <mutex>

namespace yk::detail {
namespace {

std::string demangledName(const std::type_info& type)
{
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return status == 0 && name ? name.get() : type.name();
}

} // namespace

const ImpBody* internImpBody(ImpBody body)
{
    // Implementations live for the whole process: a method may be swapped away and back.
    static std::mutex lock;
    static auto* bodies = std::make_unique<std::deque<ImpBody>>().release();
    std::lock_guard guard(lock);
    return &bodies->emplace_back(std::move(body));
}

void raiseArgumentClassMismatch(const Object* object, const std::type_info& expected)
{
    raiseInvalidArgument("argument of class " + object->classObject()->name() + " where " + demangledName(expected) + " is expected");
}

void raiseImpTypeMismatch(const std::type_info& requested, const std::type_info& actual)
{
    raiseInvalidArgument("implementation of type " + demangledName(actual) + " used as " + demangledName(requested));
}

} // namespace yk::detail
