# The two shared libraries, and a static one of each for tests that reach inside.

set(TOOLBOX_ROOMS os status memory formats places companions corefoundation text names catalogue forks folders aliases
    resources bundles launch system notification interface atoms keys movies_track movies_decoder movies_aac movies_mpeg4 movies_render
    movies_front)
list(TRANSFORM TOOLBOX_ROOMS PREPEND mirtal_toolbox_)
set(LIBRARY_ROOMS foundation strings files quicktime converter)
if(MIRTAL_JAVA)
    list(APPEND LIBRARY_ROOMS java)
endif()
list(TRANSFORM LIBRARY_ROOMS PREPEND mirtal_)

set(toolbox_objects)
foreach(room IN LISTS TOOLBOX_ROOMS)
    list(APPEND toolbox_objects $<TARGET_OBJECTS:${room}>)
endforeach()
set(library_objects)
foreach(room IN LISTS LIBRARY_ROOMS)
    list(APPEND library_objects $<TARGET_OBJECTS:${room}>)
endforeach()

add_library(mirtal_toolbox SHARED ${toolbox_objects})
add_library(mirtal::toolbox ALIAS mirtal_toolbox)
set_target_properties(mirtal_toolbox PROPERTIES OUTPUT_NAME mirtal_toolbox SOVERSION 1 VERSION ${PROJECT_VERSION}
    EXPORT_NAME toolbox INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
target_include_directories(mirtal_toolbox INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include>)
target_link_libraries(mirtal_toolbox PRIVATE mirtal_settings ${TOOLBOX_LIBRARIES})
target_compile_features(mirtal_toolbox INTERFACE cxx_std_17)

add_library(mirtal_aac2wav SHARED ${library_objects})
add_library(mirtal::aac2wav ALIAS mirtal_aac2wav)
# The name that System.loadLibrary("com_mirtal_AAC2WAV") looks for: no version in it.
set_target_properties(mirtal_aac2wav PROPERTIES OUTPUT_NAME com_mirtal_AAC2WAV EXPORT_NAME aac2wav
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
foreach(room foundation strings files quicktime converter)
    target_include_directories(mirtal_aac2wav INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/${room}/include>)
endforeach()
target_link_libraries(mirtal_aac2wav PUBLIC mirtal_toolbox PRIVATE mirtal_settings)
target_compile_features(mirtal_aac2wav INTERFACE cxx_std_17)

if(MIRTAL_TESTS OR MIRTAL_BUILD_FUZZERS OR MIRTAL_BENCHMARKS)
    add_library(mirtal_toolbox_inside STATIC EXCLUDE_FROM_ALL ${toolbox_objects})
    target_link_libraries(mirtal_toolbox_inside PUBLIC mirtal_settings mirtal_toolbox_headers ${TOOLBOX_LIBRARIES})
    target_include_directories(mirtal_toolbox_inside PUBLIC ${PROJECT_SOURCE_DIR}/platform)
    list(TRANSFORM TOOLBOX_ROOMS APPEND _inside OUTPUT_VARIABLE rooms_inside)
    target_link_libraries(mirtal_toolbox_inside PUBLIC ${rooms_inside} mirtal_toolbox_movies_general_inside)
    add_library(mirtal_aac2wav_inside STATIC EXCLUDE_FROM_ALL ${library_objects})
    target_link_libraries(mirtal_aac2wav_inside PUBLIC mirtal_settings mirtal_toolbox_headers mirtal_foundation_headers
        mirtal_strings_headers mirtal_files_headers mirtal_quicktime_headers mirtal_converter_headers)
endif()
