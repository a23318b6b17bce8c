# Benchmarks for the streams: GIO (GLib) and OpenSSL's BIO are peers measured beside them,
# linked into the benchmark only.
pkg_check_modules(YK_GIO REQUIRED IMPORTED_TARGET gio-2.0)
find_package(OpenSSL REQUIRED)
yk_add_benchmark(streams_bench StreamsBench.cpp)
target_link_libraries(streams_bench PRIVATE PkgConfig::YK_GIO OpenSSL::Crypto)
