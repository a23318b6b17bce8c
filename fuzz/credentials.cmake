# Fuzz targets for the credentials subsystem: yk_add_fuzzer(name source).
yk_add_fuzzer(digest_fuzzer DigestFuzzer.cpp)
target_link_libraries(digest_fuzzer PRIVATE OpenSSL::Crypto)
yk_add_fuzzer(url_keychain_fuzzer URLKeychainFuzzer.cpp)
