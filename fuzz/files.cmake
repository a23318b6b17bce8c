# Fuzz targets for the files subsystem: yk_add_fuzzer(name source).
yk_add_fuzzer(file_filter_fuzzer FileFilterFuzzer.cpp)
yk_add_fuzzer(path_fuzzer PathFuzzer.cpp)
yk_add_fuzzer(lines_fuzzer LinesFuzzer.cpp)
yk_add_fuzzer(freedesktop_files_fuzzer FreedesktopFilesFuzzer.cpp)
yk_add_fuzzer(host_address_fuzzer HostAddressFuzzer.cpp)
yk_add_fuzzer(finder_info_fuzzer FinderInfoFuzzer.cpp)
