# The examples as a user's project, against the installed package: built for Windows, and two of them run. Run
# with -D for: BUILD, EXAMPLES, WORK, GENERATOR, TOOLCHAIN, RUNNER, BUILD_TYPE
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nended with ${status}:\n${output}")
    endif()
    set(output ${output} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${EXAMPLES} -B ${WORK}/build -G ${GENERATOR} --toolchain ${TOOLCHAIN}
    -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_PREFIX_PATH=${WORK}/prefix)
run(${CMAKE_COMMAND} --build ${WORK}/build)

# Programs find their libraries beside themselves.
file(COPY ${WORK}/prefix/bin/msxml_parser.dll DESTINATION ${WORK}/build)
run(${RUNNER} ${WORK}/build/embed.exe ${WORK}/build/msxml_parser.dll ${EXAMPLES}/data/orders.xml)
if(NOT output MATCHES "read <orders>")
    message(FATAL_ERROR "embed said: ${output}")
endif()
run(${RUNNER} ${WORK}/build/validate.exe ${EXAMPLES}/data/orders.xsd ${EXAMPLES}/data/orders.xml)
if(NOT output MATCHES "orders.xml is valid")
    message(FATAL_ERROR "validate said: ${output}")
endif()
