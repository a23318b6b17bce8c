#include <Yarkit/core/values/Data.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Error.h>
#include <Yarkit/core/values/MutableData.h>
#include <Yarkit/core/values/String.h>

#include "core/runtime/RuntimeErrors.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace yk {

YK_DEFINE_CLASS(Data);

Data::Data(const std::vector<uint8_t>& bytes)
    : _length(static_cast<uint32_t>(bytes.size()))
{
    if (!_length)
        return;
    auto* copy = static_cast<uint8_t*>(std::malloc(_length));
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy, bytes.data(), _length);
    _bytes = copy;
    _ownership = Ownership::Free;
}

Data::~Data()
{
    switch (_ownership) {
    case Ownership::None:
        break;
    case Ownership::Free:
        std::free(const_cast<uint8_t*>(_bytes));
        break;
    case Ownership::Unmap:
        munmap(const_cast<uint8_t*>(_bytes), _length);
        break;
    }
}

Ref<Data> Data::withInlineBytes(uint32_t length)
{
    // The object runtime deletes a Data through Data::operator delete, which frees the whole
    // allocation whatever its size.
    void* memory = ::operator new(sizeof(Data) + length);
    Data* data = ::new (memory) Data();
    data->_bytes = reinterpret_cast<const uint8_t*>(data) + sizeof(Data);
    data->_length = length;
    return Ref<Data>::adopt(data);
}

Ref<Data> Data::dataWithBytes(const void* bytes, uint32_t length)
{
    if (!length)
        return make<Data>();
    if (!bytes)
        detail::raiseInvalidArgument("*** +[Data dataWithBytes:length:]: nil string (or other) argument");
    Ref<Data> data = withInlineBytes(length);
    std::memcpy(const_cast<uint8_t*>(data->_bytes), bytes, length);
    return data;
}

Ref<Data> Data::dataWithString(std::string_view bytes)
{
    return dataWithBytes(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

Ref<Data> Data::dataWithBytesNoCopy(void* bytes, uint32_t length, bool freeWhenDone)
{
    if (!bytes && length)
        detail::raiseInvalidArgument("*** +[Data dataWithBytesNoCopy:length:freeWhenDone:]: nil string (or other) argument");
    auto data = make<Data>();
    data->_bytes = static_cast<const uint8_t*>(bytes);
    data->_length = length;
    data->_ownership = freeWhenDone ? Ownership::Free : Ownership::None;
    return data;
}

namespace {

struct FileCloser {
    int fd;
    ~FileCloser()
    {
        if (fd >= 0)
            close(fd);
    }
};

Ref<Data> failWithErrno(int code, Ref<Error>* error)
{
    if (error)
        *error = Error::posixError(code);
    return nullptr;
}

// Reads to the end into one malloc buffer that the data adopts; `sizeHint` is the file's size
// where known.
Ref<Data> readToEnd(int fd, size_t sizeHint, Ref<Error>* error)
{
    constexpr size_t limit = std::numeric_limits<uint32_t>::max();
    size_t capacity = sizeHint ? sizeHint + 1 : 65536;
    size_t length = 0;
    auto* buffer = static_cast<uint8_t*>(std::malloc(capacity));
    for (;;) {
        if (!buffer)
            return failWithErrno(ENOMEM, error);
        ssize_t n = read(fd, buffer + length, capacity - length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 || length + static_cast<size_t>(n) > limit) {
            int code = n < 0 ? errno : EFBIG;
            std::free(buffer);
            return failWithErrno(code, error);
        }
        if (n == 0)
            break;
        length += static_cast<size_t>(n);
        if (length == capacity) {
            capacity *= 2;
            auto* grown = static_cast<uint8_t*>(std::realloc(buffer, capacity));
            if (!grown)
                std::free(buffer);
            buffer = grown;
        }
    }
    return Data::dataWithBytesNoCopy(buffer, static_cast<uint32_t>(length), true);
}

} // namespace

Ref<Data> Data::dataWithContentsOfFile(const char* path, uint32_t options, Ref<Error>* error)
{
    if (!path)
        return failWithErrno(EFAULT, error);
    if (!*path)
        return failWithErrno(ENOENT, error);
    FileCloser file { open(path, O_RDONLY | O_CLOEXEC) };
    struct stat status;
    if (file.fd < 0 || fstat(file.fd, &status) < 0)
        return failWithErrno(errno, error);
    bool regular = S_ISREG(status.st_mode);
    auto size = static_cast<uint64_t>(status.st_size);
    if (regular && size > std::numeric_limits<uint32_t>::max())
        return failWithErrno(EFBIG, error);
    if (!regular || !(options & ReadingMappedIfSafe) || !size)
        return readToEnd(file.fd, regular ? size : 0, error);
    void* mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.fd, 0);
    if (mapping == MAP_FAILED)
        return readToEnd(file.fd, size, error);
    auto data = make<Data>();
    data->_bytes = static_cast<const uint8_t*>(mapping);
    data->_length = static_cast<uint32_t>(size);
    data->_ownership = Ownership::Unmap;
    return data;
}

void Data::checkRange(Range range, const char* selector) const
{
    if (range.location > _length || range.length > _length - range.location)
        detail::raiseOutOfBounds(this, selector);
}

void Data::getBytes(void* buffer, Range range) const
{
    checkRange(range, "getBytes:range:");
    if (range.length)
        std::memcpy(buffer, bytes() + range.location, range.length);
}

const Object* Data::bytesOwner() const
{
    return _owner ? _owner.get() : this;
}

void Data::shareBytes(const Object* owner, const uint8_t* bytes, uint32_t length)
{
    _owner = length ? owner : nullptr;
    _bytes = length ? bytes : nullptr;
    _length = length;
}

Ref<Data> Data::subdataWithRange(Range range) const
{
    checkRange(range, "subdataWithRange:");
    if (dynamic_cast<const MutableData*>(this))
        return dataWithBytes(bytes() + range.location, range.length);
    auto subdata = make<Data>();
    subdata->shareBytes(bytesOwner(), _bytes + range.location, range.length);
    return subdata;
}

bool Data::isEqualToData(const Data* other) const
{
    if (!other)
        return false;
    if (other == this)
        return true;
    return _length == other->_length && (!_length || std::memcmp(bytes(), other->bytes(), _length) == 0);
}

Ref<Data> Data::copy() const
{
    if (!dynamic_cast<const MutableData*>(this))
        return Ref<Data>(const_cast<Data*>(this));
    // Share the buffer: the mutable original copies it before its next change.
    auto copy = make<Data>();
    copy->shareBytes(bytesOwner(), _bytes, _length);
    return copy;
}

Ref<MutableData> Data::mutableCopy() const
{
    auto copy = make<MutableData>();
    copy->shareBytes(bytesOwner(), _bytes, _length);
    return copy;
}

bool Data::isEqual(const Object* other) const
{
    return isEqualToData(dynamic_cast<const Data*>(other));
}

size_t Data::hash() const
{
    return std::hash<std::string_view>()(stringView());
}

Ref<String> Data::description() const
{
    static const char digits[] = "0123456789abcdef";
    std::string text = "<";
    const uint8_t* p = bytes();
    for (uint32_t i = 0; i < _length; ++i) {
        if (i && i % 4 == 0)
            text += ' ';
        text += digits[p[i] >> 4];
        text += digits[p[i] & 0xF];
    }
    text += '>';
    return String::withUTF8(text);
}

} // namespace yk
