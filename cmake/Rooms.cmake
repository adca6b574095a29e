# How a room of the house is built: compiler settings, and one object library for each room with only the include
# folders that it may see.

add_library(mirtal_settings INTERFACE)
target_compile_options(mirtal_settings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wcast-align
    -Wno-missing-field-initializers $<$<BOOL:${MIRTAL_WERROR}>:-Werror>)
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

# mirtal_room(NAME SOURCES ... [INCLUDES rooms whose headers it sees] [LIBRARIES third-party targets])
# Makes object library NAME. A room's own public headers are the INTERFACE library NAME_headers, made beforehand with
# mirtal_room_headers.
function(mirtal_room_headers NAME DIRECTORY)
    add_library(${NAME}_headers INTERFACE)
    target_include_directories(${NAME}_headers INTERFACE ${DIRECTORY})
endfunction()

function(mirtal_room NAME)
    cmake_parse_arguments(ROOM "" "" "SOURCES;INCLUDES;LIBRARIES" ${ARGN})
    add_library(${NAME} OBJECT ${ROOM_SOURCES})
    target_link_libraries(${NAME} PRIVATE mirtal_settings ${ROOM_INCLUDES} ${ROOM_LIBRARIES})
endfunction()
