# Libraries the framework calls. All come from Debian packages installed by scripts/setup.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n data)
find_package(nlohmann_json 3 REQUIRED)

set(YK_PRIVATE_LIBS ICU::uc ICU::i18n nlohmann_json::nlohmann_json ${CMAKE_DL_LIBS})

# URLs (uriparser), the Secret Service (libsecret over GLib) and message digests (libcrypto 3).
pkg_check_modules(URIPARSER REQUIRED IMPORTED_TARGET liburiparser)
pkg_check_modules(LIBSECRET REQUIRED IMPORTED_TARGET libsecret-1)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
list(APPEND YK_PRIVATE_LIBS PkgConfig::URIPARSER PkgConfig::LIBSECRET OpenSSL::Crypto)

# The GLib run loop back end runs the loop's items on GMainContexts.
if(YK_RUN_LOOP STREQUAL "glib")
    pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
    list(APPEND YK_PRIVATE_LIBS PkgConfig::GLIB)
endif()
