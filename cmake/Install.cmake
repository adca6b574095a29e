# What an installed tree holds: the two libraries, their headers, a CMake package and pkg-config files. The tools'
# folders install their own programs.
include(CMakePackageConfigHelpers)

install(TARGETS toolbox aac2wav_library EXPORT mirtalTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
install(DIRECTORY platform/include/ foundation/include/ strings/include/ files/include/ quicktime/include/
    converter/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mirtal FILES_MATCHING PATTERN "*.h")

set(MIRTAL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/mirtal)
install(EXPORT mirtalTargets NAMESPACE mirtal:: DESTINATION ${MIRTAL_PACKAGE_DIR})
configure_package_config_file(cmake/mirtalConfig.cmake.in ${PROJECT_BINARY_DIR}/mirtalConfig.cmake
    INSTALL_DESTINATION ${MIRTAL_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mirtalConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mirtalConfig.cmake ${PROJECT_BINARY_DIR}/mirtalConfigVersion.cmake
    DESTINATION ${MIRTAL_PACKAGE_DIR})

# The prefix is found from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH MIRTAL_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/mirtal-toolbox.pc.in mirtal-toolbox.pc @ONLY)
configure_file(cmake/mirtal-aac2wav.pc.in mirtal-aac2wav.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mirtal-toolbox.pc ${PROJECT_BINARY_DIR}/mirtal-aac2wav.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
