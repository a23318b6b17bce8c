# Benchmarks for the core functions: yk_add_benchmark(name_bench sources...).
yk_add_benchmark(core_bench RuntimeBench.cpp)
