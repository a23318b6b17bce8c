# Fuzz targets for the foundation additions and the date command's reader.
yk_add_fuzzer(byte_formatter_value_fuzzer foundation/ByteFormatterValueFuzzer.cpp)
yk_add_fuzzer(stack_trace_key_fuzzer foundation/StackTraceKeyFuzzer.cpp)
yk_add_fuzzer(cstring_pool_fuzzer foundation/CStringPoolFuzzer.cpp)
yk_add_fuzzer(date_arguments_fuzzer foundation/DateArgumentsFuzzer.cpp)
target_sources(date_arguments_fuzzer PRIVATE ${PROJECT_SOURCE_DIR}/tools/DateArguments.cpp)
