# Runs the example that crashes and reads the logs and the dump that it leaves behind:
# -DPROGRAM=... -DSOURCE=... -DFOLDER=... -DEMULATOR=... -DADDR2LINE=... (empty: the dump is binary)
function(expect_match text expression)
    if(NOT text MATCHES "${expression}")
        message(SEND_ERROR "\"${expression}\" does not match:\n${text}")
    endif()
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
# A sanitizer leaves the signals of crashes alone.
set(ENV{ASAN_OPTIONS} handle_segv=0)
execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${FOLDER} RESULT_VARIABLE status
    OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
if(status STREQUAL "0" OR status STREQUAL "1")
    message(SEND_ERROR "ended with ${status}: ${printed}")
endif()

file(GLOB logs ${FOLDER}/*.log)
list(SORT logs)
list(LENGTH logs count)
if(NOT count EQUAL 2)
    message(FATAL_ERROR "two log files expected, not: ${logs}")
endif()
list(GET logs 0 path)
get_filename_component(first_name ${path} NAME)
file(READ ${path} first)
list(GET logs 1 path)
file(READ ${path} second)

set(stamp "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]:")
foreach(line
        "  \\[example\\] Exception handler for crash mini dump set, previous filter: [0-9a-f]+"
        "  \\[example\\] 256 slices"
        "W \\[example\\] slice 117 is empty"
        "E \\[example\\] slice 118 cannot be read"
        "  \\[volume\\] a message"
        "W \\[volume\\] a warning"
        "E \\[volume\\] an error"
        "C \\[volume\\] 99% of memory in use"
        "D \\[volume\\] written: debugging is on")
    expect_match("${first}" "${stamp} ${line}\n")
endforeach()
expect_match("${first}" "\nwhat a library prints\nand what it complains about\n")
if(first MATCHES "not written")
    message(SEND_ERROR "a debug line was written without debugging")
endif()
string(LENGTH "${first}" length)
if(length LESS 1048576 OR length GREATER 1049000)
    message(SEND_ERROR "the first file has ${length} bytes")
endif()
expect_match("${second}" "^${stamp}   \\[example\\] This file continues ${first_name}\n")
expect_match("${second}" "C \\[\\] Access violation\n[^\n]*C \\[\\] Created crash dump file [^\n]*/[-0-9]+\\.dmp\n$")

string(REGEX REPLACE "log$" "dmp" dump ${FOLDER}/${first_name})
if(NOT ADDR2LINE)
    file(READ ${dump} head LIMIT 4 HEX)
    expect_match("${head}" "^4d444d50$")  # MDMP
    file(REMOVE_RECURSE ${FOLDER})
    return()
endif()
file(READ ${dump} note)
expect_match("${note}" "\nsignal: 11 SIGSEGV\n.*\nfault address: 0x0+\n.*\nregisters:\n.*\nmemory map:\n")
string(REGEX MATCH "\n  #0 0x[0-9a-f]+ ([^\n ]+) (0x[0-9a-f]+)\n" crash "${note}")
execute_process(COMMAND ${ADDR2LINE} -Cfs -e ${CMAKE_MATCH_1} ${CMAKE_MATCH_2}
    OUTPUT_VARIABLE place)
file(READ ${SOURCE} source)
string(REGEX REPLACE "crashes here.*" "" before "${source}")
string(REGEX REPLACE "[^\n]" "" newlines "${before}")
string(LENGTH "${newlines}" number)
math(EXPR number "${number} + 1")
expect_match("${place}" "^useWhatIsMissing\\(\\)\ndiagnostics.cpp:${number}")
file(REMOVE_RECURSE ${FOLDER})
