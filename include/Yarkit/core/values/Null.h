#pragma once

#include <Yarkit/core/runtime/Object.h>

namespace yk {

// The one object that stands for "nothing" inside collections, which cannot hold null.
class Null final : public Object {
    YK_OBJECT(Null, Object)
public:
    // The shared instance; it lives for the whole process.
    static Null* null();

    // "<null>".
    Ref<String> description() const override;

private:
    Null() = default;
};

} // namespace yk
