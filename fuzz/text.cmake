# Fuzz targets for the text functions: yk_add_fuzzer(name source). The detection and repair
# targets hold the SIMD scanners to the library's portable byte loops; the UTF-7, IDN and
# regular-expression targets check the library against itself or ICU.
foreach(target
        japanese_encoding_detection_fuzzer
        utf8_repair_fuzzer
        shift_jis_repair_fuzzer
        euc_jp_repair_fuzzer
        iso_2022_jp_repair_fuzzer
        utf7_decode_fuzzer
        utf7_roundtrip_fuzzer
        idn_fuzzer
        regex_fuzzer)
    yk_add_fuzzer(${target} text/${target}.cpp)
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/text)
endforeach()

