# Benchmarks for the bytes functions: yk_add_benchmark(name_bench sources...).
