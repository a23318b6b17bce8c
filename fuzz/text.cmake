# Fuzz targets for the text functions: yk_add_fuzzer(name source). Each holds the SIMD
# scanners to the library's portable byte loops.
foreach(target
        japanese_encoding_detection_fuzzer
        utf8_repair_fuzzer
        shift_jis_repair_fuzzer
        euc_jp_repair_fuzzer
        iso_2022_jp_repair_fuzzer)
    yk_add_fuzzer(${target} text/${target}.cpp)
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/text)
endforeach()

# UTF-7, IDN and regular expressions; each checks the library against itself or ICU.
foreach(target
        utf7_decode_fuzzer
        utf7_roundtrip_fuzzer
        idn_fuzzer
        regex_fuzzer)
    yk_add_fuzzer(${target} text/${target}.cpp)
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/text)
endforeach()
