# Benchmarks for the text functions: yk_add_benchmark(name_bench sources...).
