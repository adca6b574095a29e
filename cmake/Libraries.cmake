# The two shared libraries, and a static one of each for tests that reach inside.

set(TOOLBOX_ROOMS toolbox_os toolbox_status toolbox_memory toolbox_formats toolbox_places toolbox_companions
    toolbox_corefoundation toolbox_text toolbox_names toolbox_catalogue toolbox_forks toolbox_folders toolbox_aliases
    toolbox_resources toolbox_bundles toolbox_system toolbox_interface toolbox_atoms toolbox_keys toolbox_movies_track
    toolbox_movies_decoder toolbox_movies_aac toolbox_movies_mpeg4 toolbox_movies_render toolbox_movies_front)
set(LIBRARY_ROOMS aac2wav_foundation aac2wav_strings aac2wav_files aac2wav_quicktime aac2wav_converter)
if(MIRTAL_JAVA)
    list(APPEND LIBRARY_ROOMS aac2wav_java)
endif()

set(toolbox_objects)
foreach(room IN LISTS TOOLBOX_ROOMS)
    list(APPEND toolbox_objects $<TARGET_OBJECTS:${room}>)
endforeach()
set(library_objects)
foreach(room IN LISTS LIBRARY_ROOMS)
    list(APPEND library_objects $<TARGET_OBJECTS:${room}>)
endforeach()

add_library(toolbox SHARED ${toolbox_objects})
add_library(mirtal::toolbox ALIAS toolbox)
set_target_properties(toolbox PROPERTIES OUTPUT_NAME mirtal_toolbox SOVERSION 1 VERSION ${PROJECT_VERSION}
    EXPORT_NAME toolbox INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
target_include_directories(toolbox INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include>)
target_link_libraries(toolbox PRIVATE mirtal_settings ${TOOLBOX_LIBRARIES})
target_compile_features(toolbox INTERFACE cxx_std_17)

add_library(aac2wav_library SHARED ${library_objects})
add_library(mirtal::aac2wav ALIAS aac2wav_library)
# The name that System.loadLibrary("com_mirtal_AAC2WAV") looks for: no version in it.
set_target_properties(aac2wav_library PROPERTIES OUTPUT_NAME com_mirtal_AAC2WAV EXPORT_NAME aac2wav
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
foreach(room foundation strings files quicktime converter)
    target_include_directories(aac2wav_library INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/${room}/include>)
endforeach()
target_link_libraries(aac2wav_library PUBLIC toolbox PRIVATE mirtal_settings)
target_compile_features(aac2wav_library INTERFACE cxx_std_17)

if(MIRTAL_TESTS OR MIRTAL_BUILD_FUZZERS OR MIRTAL_BENCHMARKS)
    add_library(toolbox_inside STATIC EXCLUDE_FROM_ALL ${toolbox_objects})
    target_link_libraries(toolbox_inside PUBLIC mirtal_settings toolbox_headers ${TOOLBOX_LIBRARIES})
    target_include_directories(toolbox_inside PUBLIC ${PROJECT_SOURCE_DIR}/platform)
    list(TRANSFORM TOOLBOX_ROOMS APPEND _inside OUTPUT_VARIABLE rooms_inside)
    target_link_libraries(toolbox_inside PUBLIC ${rooms_inside} toolbox_movies_general_inside)
    add_library(aac2wav_inside STATIC EXCLUDE_FROM_ALL ${library_objects})
    target_link_libraries(aac2wav_inside PUBLIC mirtal_settings toolbox_headers aac2wav_foundation_headers
        aac2wav_strings_headers aac2wav_files_headers aac2wav_quicktime_headers aac2wav_converter_headers)
endif()
