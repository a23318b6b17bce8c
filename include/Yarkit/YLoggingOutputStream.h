#pragma once

#include <Yarkit/YStream.h>

namespace yk {

// A stream that sends every write to the log (yk::log) as one entry, read as text in its
// encoding; bytes that are not valid text in it log as "(null)".
class YLoggingOutputStream : public YStream {
    YK_OBJECT(YLoggingOutputStream, YStream)
public:
    // The platform's NSStringEncoding numbers: 4 is UTF-8 (the default), 1 ASCII, 3 EUC-JP,
    // 5 ISO Latin 1, 8 Shift JIS, 10 UTF-16, 21 ISO-2022-JP, 30 Mac Roman; a number with bit
    // 31 set carries a CFStringEncoding in its other bits.
    explicit YLoggingOutputStream(uint32_t encoding = 4);
    ~YLoggingOutputStream() override;

    [[nodiscard]] static Ref<YLoggingOutputStream> streamWithEncoding(uint32_t encoding);

    uint32_t encoding() const { return _encoding; }

    void writeBytes(const void* bytes, uint32_t length) override;

private:
    uint32_t _encoding;
};

} // namespace yk
