# What an installed tree holds, as components:
#   runtime      the two libraries, and what they load beside themselves
#   development  headers, the CMake package, pkg-config files
#   tools        the command lines, with man pages and completions
#   java         the jar
# A folder of the installed tree may be given within the prefix or as an absolute path.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_BINDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE installed_programs)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE installed_libraries)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE installed_headers)
set(installed_targets mirtal_toolbox mirtal_aac2wav mirtal_general_importer mirtal_quicktime_framework)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)
install(TARGETS mirtal_toolbox mirtal_aac2wav EXPORT mirtalTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mirtal)
install(TARGETS mirtal_general_importer LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/mirtal-components)
install(DIRECTORY ${MIRTAL_FRAMEWORKS_BUILD_DIR} ${MIRTAL_PRIVATE_FRAMEWORKS_BUILD_DIR}
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/mirtal USE_SOURCE_PERMISSIONS)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
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
file(RELATIVE_PATH MIRTAL_PC_TO_PREFIX ${installed_libraries}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH MIRTAL_PC_LIBDIR ${CMAKE_INSTALL_PREFIX} ${installed_libraries})
file(RELATIVE_PATH MIRTAL_PC_INCLUDEDIR ${CMAKE_INSTALL_PREFIX} ${installed_headers}/mirtal)
configure_file(cmake/mirtal-toolbox.pc.in mirtal-toolbox.pc @ONLY)
configure_file(cmake/mirtal-aac2wav.pc.in mirtal-aac2wav.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mirtal-toolbox.pc ${PROJECT_BINARY_DIR}/mirtal-aac2wav.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(commands)
if(MIRTAL_TOOLS)
    list(APPEND commands aac2wav)
endif()
if(MIRTAL_REZ_PACK)
    list(APPEND commands rez-pack)
endif()
if(commands)
    set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)
    list(APPEND installed_targets ${commands})
    file(RELATIVE_PATH to_libraries ${installed_programs} ${installed_libraries})
    set_target_properties(${commands} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
    install(TARGETS ${commands} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    foreach(tool IN LISTS commands)
        install(FILES tools/${tool}/${tool}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
        install(FILES tools/${tool}/completions/${tool}.bash
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${tool})
        install(FILES tools/${tool}/completions/_${tool} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
        install(FILES tools/${tool}/completions/${tool}.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
    endforeach()
endif()

if(MIRTAL_JAVA)
    set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME java)
    list(APPEND installed_targets mirtal_jar)
    get_target_property(jar_file mirtal_jar JAR_FILE)
    install(FILES ${jar_file} DESTINATION ${CMAKE_INSTALL_DATADIR}/java)
endif()

# All that is installed and nothing else: tests need not be built first.
add_custom_target(mirtal_installed DEPENDS ${installed_targets})
