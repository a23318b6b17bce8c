// Feeds arbitrary bytes to the unarchiver. Whatever it accepts must archive again, and reading
// that archive back and writing it once more must give the same bytes.

#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Coding.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/String.h>
#include <Yarkit/core/system/Unarchiver.h>
#include <Yarkit/YFile.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

// A class with fields of every kind, so that the fuzzer reaches object records ("Sample").
class Sample : public yk::Object, public yk::Coding {
    YK_OBJECT(Sample, yk::Object)
public:
    void encodeWithCoder(yk::Archiver& coder) const override
    {
        coder.encodeObject(_name.get());
        coder.encodeInt(_count);
        coder.encodeDouble(_ratio);
        coder.encodeBool(_flag);
        coder.encodeBytes(_bytes);
        coder.encodeObject(_child.get());
    }
    void initWithCoder(yk::Unarchiver& coder) override
    {
        _name = coder.decodeObjectOfClass<yk::String>();
        _count = coder.decodeInt();
        _ratio = coder.decodeDouble();
        _flag = coder.decodeBool();
        _bytes = coder.decodeBytes();
        _child = coder.decodeObject();
    }

private:
    yk::Ref<yk::String> _name;
    int64_t _count { 0 };
    double _ratio { 0 };
    bool _flag { false };
    std::vector<uint8_t> _bytes;
    yk::Ref<yk::Object> _child;
};
YK_DEFINE_CLASS(Sample);

// YFile decodes its path as stored, unnormalised: the fuzzer reaches it through its class name.
[[maybe_unused]] yk::Class* const fileClass = yk::YFile::staticClass();

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size > UINT32_MAX)
        return 0;
    auto input = yk::Data::dataWithBytes(bytes, static_cast<uint32_t>(size));
    yk::Ref<yk::Error> error;
    auto object = yk::Unarchiver::unarchiveObjectWithData(input.get(), &error);
    if (!object)
        return 0;
    auto first = yk::Archiver::archivedDataWithRootObject(object.get());
    auto reread = yk::Unarchiver::unarchiveObjectWithData(first.get());
    auto second = yk::Archiver::archivedDataWithRootObject(reread.get());
    if (!first->isEqualToData(second.get()))
        std::abort();
    return 0;
}
