# Fuzz targets for the bytes functions: yk_add_fuzzer(name source).
