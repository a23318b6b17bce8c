# Fuzz targets for the core functions: yk_add_fuzzer(name source).
yk_add_fuzzer(unarchiver_fuzzer UnarchiverFuzzer.cpp)
yk_add_fuzzer(string_decoding_fuzzer StringDecodingFuzzer.cpp)
yk_add_fuzzer(job_center_fuzzer JobCenterFuzzer.cpp)
