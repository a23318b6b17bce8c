#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/system/Unarchiver.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/system/Coding.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/MutableDictionary.h>
#include <Yarkit/core/values/MutableString.h>
#include <Yarkit/core/values/Null.h>
#include <Yarkit/core/values/Number.h>

#include <gtest/gtest.h>

#include "CoreTestSupport.h"

#include <cmath>
#include <string>
#include <tuple>

using yk::Ref;
using yk::test::describe;
using yk::test::str;

namespace {

// A user class with fields of every kind, an object field and a version.
class Bookmark : public yk::Object, public yk::Coding {
    YK_OBJECT(Bookmark, yk::Object)
public:
    Ref<yk::String> title;
    Ref<yk::Object> target;
    int64_t visits { 0 };
    double rating { 0 };
    bool pinned { false };
    std::vector<uint8_t> icon;
    uint32_t versionRead { 0 };

    void encodeWithCoder(yk::Archiver& coder) const override
    {
        coder.encodeObject(title.get());
        coder.encodeObject(target.get());
        coder.encodeInt(visits);
        coder.encodeDouble(rating);
        coder.encodeBool(pinned);
        coder.encodeBytes(icon);
    }
    void initWithCoder(yk::Unarchiver& coder) override
    {
        versionRead = coder.versionForClassName("Bookmark");
        title = coder.decodeObjectOfClass<yk::String>();
        target = coder.decodeObject();
        visits = coder.decodeInt();
        rating = coder.decodeDouble();
        pinned = coder.decodeBool();
        icon = coder.decodeBytes();
    }
    uint32_t classVersion() const override { return 3; }
};
YK_DEFINE_CLASS(Bookmark);

// Reads only the first field that Bookmark writes, as an older version of a class would.
class TitleOnly : public yk::Object, public yk::Coding {
    YK_OBJECT(TitleOnly, yk::Object)
public:
    Ref<yk::Object> title;
    void encodeWithCoder(yk::Archiver&) const override { }
    void initWithCoder(yk::Unarchiver& coder) override { title = coder.decodeObject(); }
};
YK_DEFINE_CLASS(TitleOnly);

// Reads more than was written.
class Greedy : public yk::Object, public yk::Coding {
    YK_OBJECT(Greedy, yk::Object)
public:
    void encodeWithCoder(yk::Archiver& coder) const override { coder.encodeInt(1); }
    void initWithCoder(yk::Unarchiver& coder) override { coder.decodeInt(), coder.decodeInt(); }
};
YK_DEFINE_CLASS(Greedy);

class NotCoding : public yk::Object {
    YK_OBJECT(NotCoding, yk::Object)
};
YK_DEFINE_CLASS(NotCoding);

Ref<yk::Object> roundTrip(const yk::Object* object)
{
    auto data = yk::Archiver::archivedDataWithRootObject(object);
    return yk::Unarchiver::unarchiveObjectWithData(data.get());
}

Ref<yk::Data> bytes(std::initializer_list<uint8_t> list)
{
    return yk::make<yk::Data>(std::vector<uint8_t>(list));
}

// The header, then the given bytes.
Ref<yk::Data> archive(std::vector<uint8_t> body)
{
    std::vector<uint8_t> all { 'Y', 'K', 'A', 'R', 1 };
    all.insert(all.end(), body.begin(), body.end());
    return yk::make<yk::Data>(std::move(all));
}

// An object of the named class (the archive's first class, version 0) with the given fields.
std::vector<uint8_t> withClass(std::string_view name, const std::vector<uint8_t>& fields)
{
    std::string body { '\x0C', '\x00', static_cast<char>(name.size()) };
    body += name;
    body += '\0';
    body.append(fields.begin(), fields.end());
    body += '\x7F';
    return { body.begin(), body.end() };
}

// An array of a shared string twice and a bookmark with every field set (its title the same
// string) twice.
Ref<yk::Array> sampleRoot()
{
    auto shared = yk::MutableString::stringWithString(str("shared text that is fairly long").get());
    auto bookmark = yk::make<Bookmark>();
    bookmark->title = shared;
    bookmark->target = yk::Dictionary::dictionaryWithEntries({ { str("when"), yk::Date::date() }, { yk::Number::numberWithDouble(1.5), bytes({ 9, 9 }) } });
    bookmark->visits = -7;
    bookmark->rating = 4.5;
    bookmark->pinned = true;
    bookmark->icon = { 0x89, 'P', 'N', 'G' };
    return yk::Array::arrayWithObjects({ shared, shared, bookmark, bookmark });
}

} // namespace

TEST(Archiver, EveryValueKindSurvivesARoundTrip)
{
    const char16_t loneSurrogate[] = { u'a', 0xD800, u'b' };
    Ref<yk::Object> values[] = {
        yk::Null::null(), yk::Number::numberWithBool(true), yk::Number::numberWithShort(-32768),
        yk::Number::numberWithUnsignedInt(4294967295u), yk::Number::numberWithLongLong(INT64_MIN),
        yk::Number::numberWithUnsignedLongLong(UINT64_MAX), yk::Number::numberWithFloat(0.1f),
        yk::Number::numberWithDouble(-0.0), yk::Number::numberWithDouble(INFINITY),
        str(""), str("日本語のメール 📨"), yk::String::stringWithCharacters(loneSurrogate, 3),
        yk::MutableString::stringWithString(str("edit me").get()),
        bytes({}), bytes({ 0, 0xFF, 0x7F }), yk::MutableData::dataWithBytes("\x01\x02", 2),
        yk::Date::dateWithTimeIntervalSinceReferenceDate(-1234.5),
        yk::Array::arrayWithObjects({ str("a"), yk::Array::arrayWithObjects({ yk::Null::null() }) }),
        yk::make<yk::MutableArray>(std::vector<Ref<yk::Object>> { str("x") }),
        yk::Dictionary::dictionaryWithEntries({ { yk::Number::numberWithInt(2), bytes({ 1 }) },
            { str("nested"), yk::Dictionary::dictionaryWithEntries({ { str("c"), yk::Date::date() } }) } }),
        yk::Dictionary::dictionaryWithEntries({ { str("k"), str("v") } })->mutableCopy(),
    };
    for (const auto& value : values) {
        SCOPED_TRACE(describe(value.get()));
        auto copy = roundTrip(value.get());
        ASSERT_TRUE(copy && copy->isEqual(value.get()) && copy->classObject() == value->classObject()) << describe(copy.get());
        if (auto* number = dynamic_cast<yk::Number*>(value.get())) {
            EXPECT_EQ(static_cast<yk::Number*>(copy.get())->kind(), number->kind());
        }
        if (auto* string = dynamic_cast<yk::String*>(value.get())) {
            EXPECT_EQ(static_cast<yk::String*>(copy.get())->units(), string->units());
        }
    }
    EXPECT_FALSE(roundTrip(nullptr));
}

TEST(Archiver, UserClassesAreRecreatedAndSharedObjectsStaySharedAndAreWrittenOnce)
{
    auto root = sampleRoot();
    auto data = yk::Archiver::archivedDataWithRootObject(root.get());
    std::string_view text = data->stringView();
    EXPECT_EQ(text.find("shared text"), text.rfind("shared text"));
    EXPECT_EQ(text.find("Bookmark"), text.rfind("Bookmark"));

    auto copy = yk::Unarchiver::unarchiveObjectWithData(data.get());
    auto array = static_cast<yk::Array*>(copy.get());
    ASSERT_EQ(array->count(), 4u);
    EXPECT_EQ(array->objectAtIndex(0).get(), array->objectAtIndex(1).get());
    EXPECT_EQ(array->objectAtIndex(2).get(), array->objectAtIndex(3).get());
    ASSERT_EQ(array->objectAtIndex(2)->classObject(), Bookmark::staticClass());
    auto restored = static_cast<Bookmark*>(array->objectAtIndex(2).get());
    auto original = static_cast<Bookmark*>(root->objectAtIndex(2).get());
    EXPECT_EQ(restored->title.get(), array->objectAtIndex(0).get());
    EXPECT_TRUE(restored->target->isEqual(original->target.get()));
    EXPECT_EQ(std::tuple(restored->visits, restored->rating, restored->pinned, restored->icon, restored->versionRead),
        std::tuple(int64_t(-7), 4.5, true, original->icon, 3u));
}

TEST(Archiver, ObjectsThatCannotBeArchivedRaise)
{
    auto cyclic = yk::make<yk::MutableArray>();
    cyclic->addObject(str("a"));
    cyclic->addObject(cyclic);
    auto notCoding = yk::make<NotCoding>();
    auto arrayKey = yk::Dictionary::dictionaryWithEntries({ { yk::Array::arrayWithObjects({ str("k") }), str("v") } });
    Ref<yk::Object> deep = str("leaf");
    for (unsigned i = 0; i < yk::Unarchiver::maximumDepth + 1; ++i)
        deep = yk::Array::arrayWithObjects({ deep });

    const std::pair<const yk::Object*, const char*> rows[] = {
        { cyclic.get(), "cycle" }, { notCoding.get(), "cannot archive an object of class NotCoding" },
        { deep.get(), "nested more than 256 deep" }, { arrayKey.get(), "a dictionary key of class Array" },
    };
    for (const auto& row : rows)
        yk::test::expectRaise([&] { (void)yk::Archiver::archivedDataWithRootObject(row.first); },
            yk::NSInvalidArchiveOperationException, row.second, true);
    cyclic->removeAllObjects(); // breaks the cycle so the array is freed
}

TEST(Unarchiver, MalformedArchivesGiveTheirError)
{
    using Code = yk::ArchiveErrorCode;
    std::vector<uint8_t> deeplyNested;
    for (unsigned i = 0; i <= yk::Unarchiver::maximumDepth; ++i)
        deeplyNested.insert(deeplyNested.end(), { 0x08, 0x01 });
    deeplyNested.push_back(0x01);

    struct Row {
        const char* name;
        Ref<yk::Data> data;
        Code code;
    } rows[] = {
        { "other magic", bytes({ 'P', 'K', 3, 4, 1, 0 }), Code::NotAnArchive },
        { "future version", bytes({ 'Y', 'K', 'A', 'R', 2, 0 }), Code::NotAnArchive },
        { "huge string length", archive({ 0x03, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 'a' }), Code::Truncated },
        { "huge array count", archive({ 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F }), Code::Truncated },
        { "varint beyond 64 bits", archive({ 0x05, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x02 }), Code::Malformed },
        { "unknown tag", archive({ 0x20 }), Code::Malformed },
        { "field outside an object", archive({ 0x11, 0x02 }), Code::Malformed },
        { "boolean that is 2", archive({ 0x02, 0, 2 }), Code::Malformed },
        { "float out of range", archive({ 0x02, 7, 0, 0, 0, 0, 0, 0, 0xF0, 0x7F - 0x10 }), Code::Malformed },
        { "overlong UTF-8", archive({ 0x03, 2, 0xC0, 0x80 }), Code::Malformed },
        { "nil in an array", archive({ 0x08, 1, 0x00 }), Code::Malformed },
        { "nil dictionary value", archive({ 0x0A, 1, 0x03, 1, 'k', 0x00 }), Code::Malformed },
        { "array as a dictionary key", archive({ 0x0A, 1, 0x08, 0, 0x01 }), Code::Malformed },
        { "duplicate key", archive({ 0x0A, 2, 0x03, 1, 'k', 0x01, 0x03, 1, 'k', 0x01 }), Code::Malformed },
        { "reference ahead", archive({ 0x08, 2, 0x01, 0x0D, 5 }), Code::Malformed },
        { "reference to its container", archive({ 0x08, 1, 0x0D, 0 }), Code::Cycle },
        { "nesting too deep", archive(deeplyNested), Code::TooDeep },
        { "trailing bytes", archive({ 0x01, 0x01 }), Code::TrailingBytes },
        { "unregistered class", archive(withClass("NoSuchClass", {})), Code::UnknownClass },
        { "class that does not adopt Coding", archive(withClass("NotCoding", {})), Code::UnknownClass },
        { "class that cannot be created", archive(withClass("Null", {})), Code::UnknownClass },
        { "class reference ahead", archive({ 0x0C, 3 }), Code::Malformed },
        { "reading past the fields", archive(withClass("Greedy", { 0x11, 0x02 })), Code::TypeMismatch },
        { "object asked where an integer was written", archive(withClass("TitleOnly", { 0x11, 0x02 })), Code::TypeMismatch },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Ref<yk::Error> error;
        EXPECT_FALSE(yk::Unarchiver::unarchiveObjectWithData(row.data.get(), &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain()->utf8(), yk::YKArchiveErrorDomain);
        EXPECT_EQ(error->code(), static_cast<int64_t>(row.code)) << error->localizedDescription()->utf8();
        yk::test::expectRaise([&] { (void)yk::Unarchiver::unarchiveObjectWithData(row.data.get()); },
            yk::NSInvalidUnarchiveOperationException, " at offset ", true);
    }
}

TEST(Unarchiver, EveryTruncationOfAnArchiveIsRefused)
{
    auto data = yk::Archiver::archivedDataWithRootObject(sampleRoot().get());
    for (uint32_t length = 0; length < data->length(); ++length) {
        Ref<yk::Error> error;
        EXPECT_FALSE(yk::Unarchiver::unarchiveObjectWithData(data->subdataWithRange({ 0, length }).get(), &error)) << length;
        ASSERT_TRUE(error) << length;
        EXPECT_EQ(error->code(), static_cast<int64_t>(yk::ArchiveErrorCode::Truncated)) << length;
    }
    EXPECT_TRUE(yk::Unarchiver::unarchiveObjectWithData(data.get()));
}

TEST(Unarchiver, FieldsAnOlderClassDoesNotReadAreSkipped)
{
    // What Bookmark writes: a title, a target array, an integer, a double, a boolean, bytes.
    std::vector<uint8_t> fields { 0x03, 4, 'k', 'e', 'p', 't', 0x08, 1, 0x03, 1, 's', 0x11, 0x02, 0x12, 0, 0, 0, 0, 0, 0, 0, 0, 0x10, 1, 0x13, 2, 7, 7 };
    std::vector<uint8_t> body { 0x08, 2 };
    auto object = withClass("TitleOnly", fields);
    body.insert(body.end(), object.begin(), object.end());
    body.insert(body.end(), { 0x03, 5, 'a', 'f', 't', 'e', 'r' });
    auto result = yk::Unarchiver::unarchiveObjectWithData(archive(body).get());
    auto array = static_cast<yk::Array*>(result.get());
    ASSERT_EQ(array->count(), 2u);
    EXPECT_EQ(static_cast<TitleOnly*>(array->objectAtIndex(0).get())->title->description()->utf8(), "kept");
    EXPECT_EQ(static_cast<yk::String*>(array->objectAtIndex(1).get())->utf8(), "after");
}
