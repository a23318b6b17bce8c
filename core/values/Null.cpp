#include <Yarkit/core/values/Null.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

namespace yk {

YK_DEFINE_CLASS(Null);

Null* Null::null()
{
    // Never released: the instance outlives every static object that may hold it.
    static Null* const instance = Ref<Null>::adopt(new Null).leakRef();
    return instance;
}

Ref<String> Null::description() const
{
    return String::withUTF8("<null>");
}

} // namespace yk
