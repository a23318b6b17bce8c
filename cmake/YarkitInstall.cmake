# Installs the library, its headers, a CMake package (find_package(Yarkit)) and a pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS yarkit EXPORT YarkitTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/Yarkit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(YK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Yarkit)
install(EXPORT YarkitTargets NAMESPACE Yarkit:: DESTINATION ${YK_CMAKE_DIR})
configure_package_config_file(cmake/YarkitConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/YarkitConfig.cmake
    INSTALL_DESTINATION ${YK_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/YarkitConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/YarkitConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/YarkitConfigVersion.cmake
    DESTINATION ${YK_CMAKE_DIR})

configure_file(cmake/yarkit.pc.in ${CMAKE_CURRENT_BINARY_DIR}/yarkit.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/yarkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
