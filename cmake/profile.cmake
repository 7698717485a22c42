# KEL_PROFILE: component and engine are compiled twice. The first build is instrumented and runs tools/workload; the
# second one lays out the code by what was seen: the usual in a straight line, the rare out of the way.
#
# The first build has a folder of its own below that of the second one, and the same options. Each names objects from
# its own root, so that the second one finds what the first one saw. No compiler cache takes part: what was seen is
# not among what it compares.
if(NOT KEL_PROFILE)
    return()
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
    message(STATUS "No optimisation by a profile: it needs GNU C++ 12 or later")
    return()
endif()
if(CMAKE_CROSSCOMPILING)
    message(STATUS "No optimisation by a profile: the workload would have to run on this machine")
    return()
endif()

get_property(kel_profiled GLOBAL PROPERTY KEL_ENGINE_PARTS)
list(APPEND kel_profiled kel_object kel_basictypes kel_component msxml_parser_static)

function(kel_profile_options)
    foreach(part ${kel_profiled})
        target_compile_options(${part} PRIVATE ${ARGN} -fprofile-prefix-path=${PROJECT_BINARY_DIR})
        set_target_properties(${part} PROPERTIES CXX_COMPILER_LAUNCHER "")
    endforeach()
    target_link_options(msxml_parser PRIVATE ${ARGN})
endfunction()

function(kel_record_profile)
    set(options -fprofile-generate=${PROJECT_BINARY_DIR}/seen -fprofile-update=prefer-atomic)
    kel_profile_options(${options})
    target_link_options(workload PRIVATE ${options})  # for the basic types in it
endfunction()

function(kel_use_profile)
    set(recording ${PROJECT_BINARY_DIR}/profile)
    set(stamp ${recording}/recorded)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS LIST_DIRECTORIES false
        framework/*.h framework/*.cpp src/*.h src/*.cpp engine/*.h engine/*.cpp msxml_parser/*.h msxml_parser/*.cpp
        tools/workload/*)
    add_custom_command(OUTPUT ${stamp}
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${recording}/seen
        COMMAND ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR} -B ${recording} -G ${CMAKE_GENERATOR}
            -DKEL_PROFILE=RECORD -DKEL_LTO=${KEL_LTO} -DKEL_BUILD_HOST=OFF -DKEL_BUILD_TOOLS=OFF -DKEL_BUILD_TESTS=OFF
            -DKEL_INSTALL=OFF -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
            -DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS} -DCMAKE_SHARED_LINKER_FLAGS=${CMAKE_SHARED_LINKER_FLAGS}
            -DCMAKE_EXE_LINKER_FLAGS=${CMAKE_EXE_LINKER_FLAGS} "-DCMAKE_PREFIX_PATH=${CMAKE_PREFIX_PATH}"
        COMMAND ${CMAKE_COMMAND} --build ${recording} --target workload
        COMMAND ${recording}/tools/workload/workload ${recording}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${sources} VERBATIM COMMENT "Recording how the library is used")
    add_custom_target(kel_profile DEPENDS ${stamp})
    # What the workload does not use is compiled as without a profile, not for size; so is a source that is made by
    # the build, for it has another name here. What it uses least, the last thousandth of all counts, is for size.
    set(options -fprofile-use=${recording}/seen -fprofile-partial-training --param=hot-bb-count-ws-permille=999
        -Wno-missing-profile -Wno-coverage-mismatch)
    # Where a profile knows how long copies are, the compiler would take string instructions, which are slow to start.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64|i.86)$")
        list(APPEND options -mmemcpy-strategy=unrolled_loop:64:noalign,libcall:-1:noalign
            -mmemset-strategy=unrolled_loop:64:noalign,libcall:-1:noalign)
    endif()
    kel_profile_options(${options})
    foreach(part ${kel_profiled})
        get_target_property(sources ${part} SOURCES)
        set_source_files_properties(${sources} TARGET_DIRECTORY ${part} PROPERTIES OBJECT_DEPENDS ${stamp})
        add_dependencies(${part} kel_profile)
    endforeach()
endfunction()

if(KEL_PROFILE STREQUAL "RECORD")
    kel_record_profile()
else()
    kel_use_profile()
endif()
