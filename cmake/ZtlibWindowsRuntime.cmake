# Windows looks for DLLs beside the program: all programs and the library share one folder, and the
# compiler's runtime is copied into it and into the package.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
if(MINGW)
    set(runtime_dlls "")
    foreach(name libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        # A name that comes back without a folder was not found beside the compiler's libraries.
        if(NOT IS_ABSOLUTE "${path}")
            set(path ${CMAKE_FIND_ROOT_PATH}/lib/${name})
        endif()
        if(NOT EXISTS ${path})
            message(FATAL_ERROR "The compiler's runtime ${name} was not found")
        endif()
        list(APPEND runtime_dlls ${path})
    endforeach()
    file(COPY ${runtime_dlls} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    if(ZTLIB_INSTALL)
        install(FILES ${runtime_dlls} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    endif()
endif()
