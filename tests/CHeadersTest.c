/* The byte-level functions are C functions: their headers compile as C and the library links
   into a C program. */

#include <Yarkit/Base64.h>
#include <Yarkit/ByteClasses.h>
#include <Yarkit/ByteSearch.h>
#include <Yarkit/ByteSequenceRepair.h>
#include <Yarkit/JapaneseEncodingDetection.h>
#include <Yarkit/MemoryFunctions.h>
#include <Yarkit/SystemFunctions.h>

#include <string.h>

int main(void)
{
    const unsigned char text[] = "Subject: test";
    char encoded[32];
    const int32_t length = yk_encode_base64(encoded, text, 4, 76);
    if (length != 8 || memcmp(encoded, "U3Viag==", 8) != 0)
        return 1;
    if (y_is_process_native(0) != 1 || !y_get_domain_name())
        return 1;
    if (YKDetectJapaneseEncoding(text, (int32_t)strlen((const char*)text), 0, 0) != kCFStringEncodingASCII)
        return 1;
    return y_memmem(text, sizeof text - 1, "test", 4) == text + 9 ? 0 : 1;
}
