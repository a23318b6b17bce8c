# Benchmarks for the credentials subsystem: digests and HMAC against libcrypto used directly,
# keychain finds against libsecret's own lookup.
yk_add_benchmark(credentials_bench CredentialsBench.cpp)
target_link_libraries(credentials_bench PRIVATE OpenSSL::Crypto PkgConfig::LIBSECRET)
