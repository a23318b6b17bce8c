# Fuzz targets for the bytes functions: yk_add_fuzzer(name source).
yk_add_fuzzer(base64_decode_fuzzer Base64DecodeFuzzer.cpp)
yk_add_fuzzer(strtoll_fuzzer StrtollFuzzer.cpp)
yk_add_fuzzer(memmem_fuzzer MemmemFuzzer.cpp)
