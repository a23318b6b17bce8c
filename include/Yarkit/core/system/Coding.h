#pragma once

#include <Yarkit/core/Forward.h>

#include <cstdint>

namespace yk {

// Objects that the archiver can write and the unarchiver can make again. A class adopts it by
// deriving from yk::Object (or a subclass) and from Coding, being default-constructible and
// being registered with YK_DEFINE_CLASS under a name that stays stable between releases:
//
//     class Bookmark : public yk::Object, public yk::Coding {
//         YK_OBJECT(Bookmark, yk::Object)
//     public:
//         void encodeWithCoder(yk::Archiver& coder) const override
//         {
//             coder.encodeObject(_title.get());
//             coder.encodeInt(_visits);
//         }
//         void initWithCoder(yk::Unarchiver& coder) override
//         {
//             _title = coder.decodeObjectOfClass<yk::String>();
//             _visits = coder.decodeInt();
//         }
//     };
//
// The unarchiver makes the instance with the class's default constructor, then calls
// initWithCoder, which reads the values in the order encodeWithCoder wrote them.
class Coding {
public:
    virtual ~Coding() = default;

    virtual void encodeWithCoder(Archiver& coder) const = 0;
    // Raises NSInvalidUnarchiveOperationException (through the coder's decode methods) when the
    // archive does not hold what it expects.
    virtual void initWithCoder(Unarchiver& coder) = 0;
    // Written once per class with its name; initWithCoder can ask the coder for it
    // (Unarchiver::versionForClassName) to read archives of older versions.
    virtual uint32_t classVersion() const { return 0; }
};

} // namespace yk
