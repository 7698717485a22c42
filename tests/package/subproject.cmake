# The sources as a part of another project, by add_subdirectory as FetchContent does it. Run with -D for: SOURCES, WORK,
# GENERATOR, CONFIG_ARGS (;-list)
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " line)
        message(FATAL_ERROR "${line}\n${output}\nended with ${status}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CMAKE_CURRENT_LIST_DIR}/subproject -B ${WORK} -DSOURCES=${SOURCES}
    -DPROGRAM=${SOURCES}/examples/direct.cpp ${CONFIG_ARGS})
run(${CMAKE_COMMAND} --build ${WORK} --target program)
