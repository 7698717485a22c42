# What other projects find: find_package(msxml_parser 6.3 [COMPONENTS host]) and pkg-config --cflags msxml_parser.
include(CMakePackageConfigHelpers)

set(KEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/msxml_parser)

# The sources' own include roots serve the build tree only; installed, all headers stand below one root.
function(kel_exported target)
    set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES
        "$<BUILD_INTERFACE:${KEL_INCLUDE_ROOTS}>;$<INSTALL_INTERFACE:${KEL_INCLUDE_DIR}>")
    set_target_properties(${target} PROPERTIES INTERFACE_COMPILE_FEATURES cxx_std_20)
endfunction()

kel_public_headers(framework/object DIRECTORY ${PROJECT_SOURCE_DIR}/framework/object)
kel_public_headers(framework/component DIRECTORY ${PROJECT_SOURCE_DIR}/framework/component)
kel_public_headers(KelBasicTypes DIRECTORY ${PROJECT_SOURCE_DIR}/src/KelBasicTypes)
# The word in front of every buffer, which a pool of a host's own has to honour.
kel_public_headers(KelBasicTypes/detail FILES blockheader.h DIRECTORY ${PROJECT_SOURCE_DIR}/src/KelBasicTypes/detail)
kel_public_headers(msxml_parser DIRECTORY ${PROJECT_SOURCE_DIR}/msxml_parser)
kel_public_headers(msxml_parser FILES systemcomerror.h
    DIRECTORY ${PROJECT_SOURCE_DIR}/msxml_parser/platform/${KEL_PLATFORM}/msxml_parser)
if(NOT WIN32)
    # The exception that reaches callers. The engine behind it is the component's own business.
    kel_public_headers(engine/com DIRECTORY ${PROJECT_SOURCE_DIR}/engine/com FILES comerror.h)
endif()
kel_public_headers(host DIRECTORY ${PROJECT_SOURCE_DIR}/host)

add_library(framework INTERFACE)
target_link_libraries(framework INTERFACE kel_component kel_basictypes kel_object)
foreach(target kel_object kel_basictypes kel_component framework msxml_parser kel_host)
    kel_exported(${target})
endforeach()
set_target_properties(kel_host PROPERTIES EXPORT_NAME host)
set_target_properties(msxml_parser PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

# Every rule names its component, for each becomes a package: `library` is what programs need to run, `development`
# what they need to be built, `tools` the command line.
install(TARGETS kel_object kel_basictypes kel_component framework EXPORT msxml_parser-targets
    ARCHIVE COMPONENT development)
install(TARGETS msxml_parser EXPORT msxml_parser-targets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(EXPORT msxml_parser-targets NAMESPACE msxml_parser:: DESTINATION ${KEL_CMAKE_DIR} COMPONENT development)
# The host needs ICU, which a user of the component alone need not have: a set of its own, loaded when asked for.
install(TARGETS kel_host EXPORT msxml_parser-host-targets ARCHIVE COMPONENT development)
install(EXPORT msxml_parser-host-targets NAMESPACE msxml_parser:: DESTINATION ${KEL_CMAKE_DIR} COMPONENT development)
install(TARGETS kelxml RUNTIME COMPONENT tools)

configure_package_config_file(cmake/msxml_parser-config.cmake.in msxml_parser-config.cmake
    INSTALL_DESTINATION ${KEL_CMAKE_DIR})
write_basic_package_version_file(msxml_parser-config-version.cmake COMPATIBILITY SameMajorVersion)
# Relative to itself, so that a package unpacked under any prefix describes that prefix.
file(RELATIVE_PATH KEL_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
if(WIN32)
    set(KEL_PC_HOST_REQUIRES)
    set(KEL_PC_HOST_LIBS normaliz ole32 shell32 uuid)
else()
    set(KEL_PC_HOST_REQUIRES icu-i18n icu-uc)
    set(KEL_PC_HOST_LIBS ${CMAKE_DL_LIBS})
endif()
list(TRANSFORM KEL_PC_HOST_LIBS PREPEND -l)
list(JOIN KEL_PC_HOST_REQUIRES " " KEL_PC_HOST_REQUIRES)
list(JOIN KEL_PC_HOST_LIBS " " KEL_PC_HOST_LIBS)
foreach(module msxml_parser msxml_parser-host)
    configure_file(cmake/${module}.pc.in ${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/msxml_parser-config.cmake ${PROJECT_BINARY_DIR}/msxml_parser-config-version.cmake
    DESTINATION ${KEL_CMAKE_DIR} COMPONENT development)
