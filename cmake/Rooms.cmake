# How a room of the house is built: compiler settings, and one object library for each room with only the include
# folders that it may see.

add_library(mirtal_settings INTERFACE)
target_compile_options(mirtal_settings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wcast-align
    -Wno-missing-field-initializers $<$<BOOL:${MIRTAL_WERROR}>:-Werror>)
# Assertions are alive in debug builds, the standard library's own with them. (Its debug containers are not: the test
# library, which is the system's, was built without.)
target_compile_definitions(mirtal_settings INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
# Clang verifies which mutex guards what (platform/os/inside/os/Mutex.h).
target_compile_options(mirtal_settings INTERFACE
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Werror=thread-safety>)
# GCC 12 takes short strings that are put together for copies onto themselves (its bug 105651).
target_compile_options(mirtal_settings INTERFACE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# No fused multiply-add behind our back: the same input gives the same bytes on every build.
target_compile_options(mirtal_settings INTERFACE -ffp-contract=off -fno-math-errno)
if(MIRTAL_SANITIZE)
    target_compile_options(mirtal_settings INTERFACE -fsanitize=${MIRTAL_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_link_options(mirtal_settings INTERFACE -fsanitize=${MIRTAL_SANITIZE})
endif()
if(MIRTAL_COVERAGE)
    target_compile_options(mirtal_settings INTERFACE --coverage)
    target_link_options(mirtal_settings INTERFACE --coverage)
endif()

# mirtal_room_headers(NAME DIRECTORY): a library room's public headers, as the INTERFACE library NAME_headers.
function(mirtal_room_headers NAME DIRECTORY)
    add_library(${NAME}_headers INTERFACE)
    target_include_directories(${NAME}_headers INTERFACE ${DIRECTORY})
endfunction()

# mirtal_room(NAME SOURCES ... [SEES rooms of the platform] [INCLUDES other header targets] [LIBRARIES third-party targets])
# Makes object library NAME. What a room of the platform opens to others lies in its folder inside/; they name the room
# in SEES, and then see that folder and nothing else of it.
function(mirtal_room NAME)
    cmake_parse_arguments(ROOM "" "" "SOURCES;SEES;INCLUDES;LIBRARIES" ${ARGN})
    add_library(${NAME} OBJECT ${ROOM_SOURCES})
    add_library(${NAME}_inside INTERFACE)
    if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/inside)
        target_include_directories(${NAME}_inside INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/inside)
    endif()
    list(TRANSFORM ROOM_SEES APPEND _inside)
    target_link_libraries(${NAME} PRIVATE mirtal_settings toolbox_headers ${NAME}_inside ${ROOM_SEES} ${ROOM_INCLUDES}
        ${ROOM_LIBRARIES})
endfunction()
