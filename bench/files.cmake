# Benchmarks of the files subsystem; GIO is a peer measured beside it, linked here only.
find_package(PkgConfig REQUIRED)
pkg_check_modules(YK_BENCH_GIO REQUIRED IMPORTED_TARGET gio-2.0)
yk_add_benchmark(files_bench FilesBench.cpp)
target_link_libraries(files_bench PRIVATE PkgConfig::YK_BENCH_GIO)
