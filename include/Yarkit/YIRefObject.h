#pragma once

#include <Yarkit/core/runtime/Object.h>

#include <cstdint>

namespace yk {

// A reference-counted base class whose counter is guarded by one of 32 process-wide spin locks,
// chosen by bits 4 to 8 of the object's address, instead of an atomic of its own. _refCount is
// the number of references beyond the first, so a fresh object reports a retain count of 1.
class YIRefObject : public Object {
    YK_OBJECT(YIRefObject, Object)
public:
    YIRefObject() = default;

    void retain() const noexcept override;
    void release() const noexcept override;
    uint32_t retainCount() const noexcept override;

    // +initialize: when the class is exactly YIRefObject, clears the 32 locks, once.
    static void initialize(Class* self);

    // The stripe guarding an object's counter: (address / 16) % 32.
    static uint32_t lockIndexForAddress(const void* address);

private:
    mutable uint32_t _refCount { 0 }; // guarded by the object's stripe lock
};

} // namespace yk
