# Fuzz targets for the core functions: yk_add_fuzzer(name source).
