// The runtime would answer isKindOfClass(String) for a class that is not a String.
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

class Mailbox : public yk::Object {
    YK_OBJECT(Mailbox, yk::String)
};
