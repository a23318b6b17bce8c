# Benchmarks for the core functions: yk_add_benchmark(name_bench sources...).
