// The Yarkit demo: the framework doing its main job. It grows with the framework.

#include <Yarkit/Yarkit.h>

#include <cstdio>

int main()
{
    std::printf("Yarkit demo\n");
    std::printf("Encodings this build converts:");
    for (CFStringEncoding encoding : { kCFStringEncodingUTF8, kCFStringEncodingShiftJIS, kCFStringEncodingEUC_JP,
             kCFStringEncodingISO_2022_JP, kCFStringEncodingISO_2022_JP_3 }) {
        std::printf(" %s=%s", yk::stringEncodingName(encoding), yk::isStringEncodingAvailable(encoding) ? "yes" : "no");
    }
    std::printf("\n");
}
