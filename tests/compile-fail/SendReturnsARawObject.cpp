// A raw pointer to a returned object could outlive the object.
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/values/String.h>

yk::String* name(yk::Object* object)
{
    return yk::send<yk::String*>(object, "name");
}
