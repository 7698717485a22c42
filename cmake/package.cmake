# What other projects find: find_package(msxml_parser 6.3 [COMPONENTS host]) and pkg-config --cflags msxml_parser.
include(CMakePackageConfigHelpers)

set(KEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/msxml_parser)

kel_public_headers(framework/object DIRECTORY ${PROJECT_SOURCE_DIR}/framework/object)
kel_public_headers(framework/component DIRECTORY ${PROJECT_SOURCE_DIR}/framework/component)
kel_public_headers(KelBasicTypes DIRECTORY ${PROJECT_SOURCE_DIR}/src/KelBasicTypes)
# The word in front of every buffer, which a pool of a host's own has to honour.
kel_public_headers(KelBasicTypes/detail FILES blockheader.h DIRECTORY ${PROJECT_SOURCE_DIR}/src/KelBasicTypes/detail)
kel_public_headers(msxml_parser DIRECTORY ${PROJECT_SOURCE_DIR}/msxml_parser)
kel_public_headers(msxml_parser/xml DIRECTORY ${PROJECT_SOURCE_DIR}/msxml_parser/xml)
kel_public_headers(msxml_parser FILES systemcomerror.h
    DIRECTORY ${PROJECT_SOURCE_DIR}/msxml_parser/platform/${KEL_PLATFORM}/msxml_parser)
if(NOT WIN32)
    # The exception that reaches callers. The engine behind it is the component's own business.
    kel_public_headers(engine/com DIRECTORY ${PROJECT_SOURCE_DIR}/engine/com FILES comerror.h)
endif()
if(KEL_BUILD_HOST)
    kel_public_headers(host DIRECTORY ${PROJECT_SOURCE_DIR}/host)
endif()

# Every rule names its component, for each becomes a package: `library` is what programs need to run, `development`
# what they need to be built, `tools` the command line.
install(TARGETS kel_object kel_basictypes kel_component kel_framework EXPORT msxml_parser-targets
    ARCHIVE COMPONENT development)
install(TARGETS msxml_parser EXPORT msxml_parser-targets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(EXPORT msxml_parser-targets NAMESPACE msxml_parser:: DESTINATION ${KEL_CMAKE_DIR} COMPONENT development)
# The host needs ICU, which a user of the component alone need not have: a set of its own, loaded when asked for.
if(KEL_BUILD_HOST)
    install(TARGETS kel_host EXPORT msxml_parser-host-targets ARCHIVE COMPONENT development)
    install(EXPORT msxml_parser-host-targets NAMESPACE msxml_parser:: DESTINATION ${KEL_CMAKE_DIR}
        COMPONENT development)
endif()
if(KEL_BUILD_TOOLS)
    install(TARGETS kelxml RUNTIME COMPONENT tools)
endif()
# Everything that `cmake --install` takes from the build tree.
add_custom_target(installable DEPENDS msxml_parser kel_object kel_basictypes kel_component catalogues)
foreach(part kel_host kelxml kelxml_generated)
    if(TARGET ${part})
        add_dependencies(installable ${part})
    endif()
endforeach()

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
set(pkg_config_modules msxml_parser)
if(KEL_BUILD_HOST)
    list(APPEND pkg_config_modules msxml_parser-host)
endif()
foreach(module IN LISTS pkg_config_modules)
    configure_file(cmake/${module}.pc.in ${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/msxml_parser-config.cmake ${PROJECT_BINARY_DIR}/msxml_parser-config-version.cmake
    DESTINATION ${KEL_CMAKE_DIR} COMPONENT development)
