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

# The same through pkg-config.
set(ENV{PKG_CONFIG_PATH} ${WORK}/prefix/${LIBDIR}/pkgconfig)
run(pkg-config --cflags --libs msxml_parser)
separate_arguments(flags UNIX_COMMAND "${run_output}")
separate_arguments(cxx UNIX_COMMAND "${CXX}")
run(${cxx} -std=c++20 ${EXAMPLES}/direct.cpp ${flags} -Wl,-rpath,${WORK}/prefix/${LIBDIR} -o ${WORK}/build/by_pkg_config)
run(${CMAKE_COMMAND} -E chdir ${WORK}/run ${WORK}/build/by_pkg_config)
