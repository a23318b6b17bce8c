// A selector of one argument for a method of two.
#include <Yarkit/core/runtime/Class.h>

class Mailbox : public yk::Object {
    YK_OBJECT(Mailbox, yk::Object)
public:
    void move(int32_t, int32_t) { }
};

YK_DEFINE_CLASS(Mailbox, [](yk::MethodListBuilder& c) { c.method("moveTo:", &Mailbox::move); });
