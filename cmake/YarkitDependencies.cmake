# Libraries the framework calls. All come from Debian packages installed by scripts/setup.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n data)
find_package(nlohmann_json 3 REQUIRED)

set(YK_PRIVATE_LIBS ICU::uc ICU::i18n nlohmann_json::nlohmann_json ${CMAKE_DL_LIBS})
