# Fuzz targets for the text functions: yk_add_fuzzer(name source). Each checks the library
# against the plain transcription the tests keep in tests/text/Oracle.cpp.
foreach(target
        japanese_encoding_detection_fuzzer
        utf8_repair_fuzzer
        shift_jis_repair_fuzzer
        euc_jp_repair_fuzzer
        iso_2022_jp_repair_fuzzer)
    yk_add_fuzzer(${target} text/${target}.cpp)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/text/Oracle.cpp)
    target_include_directories(${target} PRIVATE
        ${CMAKE_CURRENT_SOURCE_DIR}/text ${PROJECT_SOURCE_DIR}/tests/text)
endforeach()
