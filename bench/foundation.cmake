# Benchmarks for the foundation additions. ICU is linked already; GLib is a peer measured
# beside the byte formatter and the pool, so it is linked here and nowhere else.
pkg_check_modules(YK_GLIB REQUIRED IMPORTED_TARGET glib-2.0)
yk_add_benchmark(foundation_bench FoundationBench.cpp)
target_link_libraries(foundation_bench PRIVATE PkgConfig::YK_GLIB)
