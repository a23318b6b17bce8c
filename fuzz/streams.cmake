# Fuzz targets for the streams: yk_add_fuzzer(name source), with the tests' sources.
foreach(target line_input_fuzzer:LineInputFuzzer pushback_fuzzer:PushbackFuzzer base64_stream_fuzzer:Base64StreamFuzzer)
    string(REPLACE ":" ";" parts ${target})
    list(GET parts 0 name)
    list(GET parts 1 file)
    yk_add_fuzzer(${name} ${file}.cpp)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/streams/StreamTestSupport.cpp)
endforeach()
