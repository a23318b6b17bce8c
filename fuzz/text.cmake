# Fuzz targets for the text functions: yk_add_fuzzer(name source).
