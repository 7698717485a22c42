# Part of outside_consumer.cmake: builds the examples as their own project against the installed package, runs each in
# an empty folder and compares what it prints with examples/expected/<name>.txt.
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${EXAMPLES} -B ${WORK}/examples -DCMAKE_PREFIX_PATH=${WORK}/prefix
    ${CONFIG_ARGS})
run(${CMAKE_COMMAND} --build ${WORK}/examples)

# The data beside the program, under short names that messages can be compared by.
file(COPY ${EXAMPLES}/data/ DESTINATION ${WORK}/run)
# Where a user's own language would change what is printed.
set(ENV{LC_ALL} C)

# run_example(<name> <exit status> <arguments>...); the name may have a folder in front
function(run_example program expected_status)
    cmake_path(GET program FILENAME name)
    execute_process(COMMAND ${WORK}/examples/${program} ${ARGN} WORKING_DIRECTORY ${WORK}/run
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    file(READ ${EXAMPLES}/expected/${name}.txt expected)
    string(REPLACE "@VERSION@" ${VERSION} expected "${expected}")
    if(NOT status STREQUAL expected_status OR NOT output STREQUAL expected)
        message(FATAL_ERROR "the example ${name} ended with ${status} and printed:\n${output}\nexpected:\n${expected}")
    endif()
endfunction()

run_example(direct 0)
run_example(interfaces 0)
run_example(orders 0)
run_example(shelf 0)
run_example(subtree 0 orders.xml)
run_example(transform 0 orders.xsl orders.xml)
run_example(validate 1 orders.xsd orders.xml bad-orders.xml broken.xml)
run_example(embed 0 ${library} orders.xml)
run_example(reporting 1 ${library} broken.xml)
run_example(references 0 ${library} orders.xml references.xml)
run_example(services 0 ${library} app.settings)
run_example(wordcount/words 0 ${library} ${WORK}/examples/wordcount/libwordcount.so orders.xml)

file(READ ${WORK}/run/references.xml saved)
string(FIND "${saved}" "&#20304;&#34276; &#33457;&#23376; &#128512;</buyer>" at)
if(at EQUAL -1)
    message(FATAL_ERROR "the example references wrote: ${saved}")
endif()
