#include <Yarkit/ByteClasses.h>

extern "C" {

int is_whitespace(int byte)
{
    return byte == '\t' || byte == ' ';
}

int is_crlf(int byte)
{
    return byte == '\n' || byte == '\r';
}

int is_whitespace_crlf(int byte)
{
    return is_whitespace(byte) || is_crlf(byte);
}

} // extern "C"
