# Installs the build, moves it, and lets a project that knows only the package configure, build and run against it.
# Run with -D for: BUILD, CONFIG_ARGS (;-list), CONSUMER, EXAMPLES, DOCUMENT, WORK, LIBDIR, GENERATOR, CXX
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " line)
        message(FATAL_ERROR "${line}\n${output}\nended with ${status}")
    endif()
    set(run_output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/run)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
# A rule without a component would be in no package.
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/none --component Unspecified)
if(EXISTS ${WORK}/none)
    message(FATAL_ERROR "install rules need COMPONENT library, development or tools:\n${run_output}")
endif()
# A package that remembers where it was built or installed does not survive this.
file(RENAME ${WORK}/first ${WORK}/prefix)
set(library ${WORK}/prefix/${LIBDIR}/libmsxml_parser.so)

run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/prefix
    ${CONFIG_ARGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CMAKE_COMMAND} -E chdir ${WORK}/run ${WORK}/build/direct)
run(${CMAKE_COMMAND} -E chdir ${WORK}/run ${WORK}/build/dynamic ${library})
include(${CMAKE_CURRENT_LIST_DIR}/examples.cmake)

# The installed kelxml finds the installed library, which stands elsewhere, seen from it, than in the build tree.
run(${WORK}/prefix/bin/kelxml info)
run(${WORK}/prefix/bin/kelxml tree ${WORK}/run/shelf.xml)
# It tries the components of others, too.
run(${WORK}/prefix/bin/kelxml selftest --component ${WORK}/examples/wordcount/libwordcount.so)

# The same through pkg-config.
set(ENV{PKG_CONFIG_PATH} ${WORK}/prefix/${LIBDIR}/pkgconfig)
run(pkg-config --cflags --libs msxml_parser)
separate_arguments(flags UNIX_COMMAND "${run_output}")
separate_arguments(cxx UNIX_COMMAND "${CXX}")
run(${cxx} -std=c++20 ${EXAMPLES}/direct.cpp ${flags} -Wl,-rpath,${WORK}/prefix/${LIBDIR} -o ${WORK}/build/by_pkg_config)
run(${CMAKE_COMMAND} -E chdir ${WORK}/run ${WORK}/build/by_pkg_config)

# A compiler in another mode gets one message that says so.
foreach(header msxml_parser/xml.h msxml_parser/msxml_parser.h host/host.h)
    file(WRITE ${WORK}/cxx17.cpp "#include \"${header}\"\n")
    execute_process(COMMAND ${cxx} -std=c++17 -fsyntax-only ${flags} ${WORK}/cxx17.cpp RESULT_VARIABLE status
        OUTPUT_QUIET ERROR_VARIABLE output)
    string(REGEX MATCHALL " error: " errors "${output}")
    list(LENGTH errors count)
    if(status EQUAL 0 OR count GREATER 2 OR NOT output MATCHES "msxml_parser needs C\\+\\+20")
        message(FATAL_ERROR "${header} in C++17: ${output}")
    endif()
endforeach()

# By its bare name the library is found where the system finds libraries, and its messages with it.
file(READ ${EXAMPLES}/expected/embed.txt expected)
string(REPLACE "@VERSION@" ${VERSION} expected "${expected}")
run(${CMAKE_COMMAND} -E chdir ${WORK}/run ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${WORK}/prefix/${LIBDIR}
    ${WORK}/examples/embed libmsxml_parser.so.6 orders.xml)
if(NOT run_output STREQUAL expected)
    message(FATAL_ERROR "loaded by its name: ${run_output}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${WORK}/prefix/${LIBDIR} LC_ALL=de_DE.UTF-8
    ${WORK}/examples/embed libmsxml_parser.so.6 broken.xml WORKING_DIRECTORY ${WORK}/run ERROR_VARIABLE output)
if(NOT output MATCHES "Zeile 3")
    message(FATAL_ERROR "loaded by its name, it says: ${output}")
endif()
