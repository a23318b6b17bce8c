# Benchmarks for the bytes functions: yk_add_benchmark(name_bench sources...).
# OpenSSL is a peer measured beside the codec, so it is linked here and nowhere else.
find_package(OpenSSL REQUIRED)
yk_add_benchmark(bytes_bench BytesBench.cpp)
target_link_libraries(bytes_bench PRIVATE OpenSSL::Crypto)
