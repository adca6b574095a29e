# Lays out the native libraries as the jar holds them. Run with -P:
#   STAGE      the folder to fill
#   LIBRARY    libcom_mirtal_AAC2WAV.so
#   TOOLBOX    the toolbox library, stored as TOOLBOX_NAME, the name that LIBRARY asks for
#   COMPONENT  the general importer, stored where the toolbox looks for components
#   STRIP      a strip command, or empty
function(stage FROM NAME)
    cmake_path(GET NAME PARENT_PATH folder)
    file(MAKE_DIRECTORY ${STAGE}/${folder})
    file(COPY_FILE ${FROM} ${STAGE}/${NAME})
    if(STRIP)
        execute_process(COMMAND ${STRIP} --strip-unneeded ${STAGE}/${NAME} COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(SHA256 ${STAGE}/${NAME} digest)
    file(APPEND ${STAGE}/files.sha256 "${digest}  ${NAME}\n")
endfunction()

cmake_path(GET LIBRARY FILENAME libraryName)
cmake_path(GET COMPONENT FILENAME componentName)
stage(${LIBRARY} ${libraryName})
stage(${TOOLBOX} ${TOOLBOX_NAME})
stage(${COMPONENT} mirtal-components/${componentName})
