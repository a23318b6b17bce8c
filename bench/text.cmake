# Benchmarks for the text functions: yk_add_benchmark(name_bench sources...).
# The peers measured beside us (uchardet for detection, GLib's g_utf8_make_valid for UTF-8
# repair) are linked into the benchmark only.
pkg_check_modules(YK_UCHARDET REQUIRED IMPORTED_TARGET uchardet)
pkg_check_modules(YK_GLIB REQUIRED IMPORTED_TARGET glib-2.0)

yk_add_benchmark(text_bench text/JapaneseTextBenchmark.cpp)
target_link_libraries(text_bench PRIVATE PkgConfig::YK_UCHARDET PkgConfig::YK_GLIB)

# UTF-7, IDN, regular expressions and character sets beside ICU, GLib, libidn2, Oniguruma
# called directly and PCRE2-16.
pkg_check_modules(YK_IDN2 REQUIRED IMPORTED_TARGET libidn2)
pkg_check_modules(YK_PCRE2_16 REQUIRED IMPORTED_TARGET libpcre2-16)
yk_add_benchmark(text_conversion_bench text/TextConversionBenchmark.cpp)
target_link_libraries(text_conversion_bench PRIVATE PkgConfig::YK_GLIB PkgConfig::YK_IDN2 PkgConfig::YK_PCRE2_16)
