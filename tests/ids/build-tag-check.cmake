# Checks the build tag of the library, and that builds are reproducible: builds a small library of its
# units twice, in different folders and without a cache, and compares the files to the last byte.
# -DLIBRARY=... -DSCRATCH=... -DGENERATOR=... -DCOMPILER=<what tells CMake the compiler>
set(verify ${CMAKE_CURRENT_LIST_DIR}/../../scripts/verify-tag)

include(${CMAKE_CURRENT_LIST_DIR}/../run-command.cmake)

function(expect_refusal file reason)
    execute_process(COMMAND ${verify} ${file} RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE error)
    if(NOT result EQUAL 1 OR NOT error MATCHES "${reason}")
        message(SEND_ERROR "${file} should be refused since ${reason}, not: ${error}")
    endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
set(ENV{SOURCE_DATE_EPOCH} 1000000000)
set(ENV{CCACHE_DISABLE} 1)
foreach(folder one another)
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CMAKE_CURRENT_LIST_DIR}/twice -B ${SCRATCH}/${folder}
        ${COMPILER} -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DZTLIB_TAG_COMMENT=a|b ü")
    run(${CMAKE_COMMAND} --build ${SCRATCH}/${folder})
endforeach()
set(small ${SCRATCH}/one/small.bin)
run(${CMAKE_COMMAND} -E compare_files ${small} ${SCRATCH}/another/small.bin)
run(${verify} ${small})
foreach(line "version_major: 1" "version_minor: 2" "comment: a_b __" "build_user: " "build_ip: "
        "build_time: 2001-09-09 01:46:40" "filename: small.bin" "path: ")
    if(NOT output MATCHES "\n${line}\n")
        message(SEND_ERROR "no line \"${line}\" in:\n${output}")
    endif()
endforeach()
run(${verify} ${LIBRARY})

file(WRITE ${SCRATCH}/more "x")
execute_process(COMMAND ${CMAKE_COMMAND} -E cat ${small} ${SCRATCH}/more OUTPUT_FILE ${SCRATCH}/longer)
execute_process(COMMAND ${CMAKE_COMMAND} -E cat ${small} ${small} OUTPUT_FILE ${SCRATCH}/doubled)
execute_process(COMMAND sed "s/GNU/GNX/" ${small} OUTPUT_FILE ${SCRATCH}/changed)
expect_refusal(${SCRATCH}/more "there is no build tag")
expect_refusal(${SCRATCH}/longer "the size is not")
expect_refusal(${SCRATCH}/doubled "the marker occurs more than once")
expect_refusal(${SCRATCH}/changed "the digest is not")
file(REMOVE_RECURSE ${SCRATCH})
