# The targets under the names by which other projects link them, whether installed or as a part of their own build.
function(kel_exported target name)
    # The sources' own include roots serve the build tree only; installed, all headers stand below one root.
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        INTERFACE_INCLUDE_DIRECTORIES "$<BUILD_INTERFACE:${KEL_INCLUDE_ROOTS}>;$<INSTALL_INTERFACE:${KEL_INCLUDE_DIR}>"
        INTERFACE_COMPILE_FEATURES cxx_std_20)
    add_library(msxml_parser::${name} ALIAS ${target})
endfunction()

add_library(kel_framework INTERFACE)
target_link_libraries(kel_framework INTERFACE kel_component kel_basictypes kel_object)
foreach(target kel_object kel_basictypes kel_component msxml_parser)
    kel_exported(${target} ${target})
endforeach()
kel_exported(kel_framework framework)
if(KEL_BUILD_HOST)
    kel_exported(kel_host host)
endif()
set_target_properties(msxml_parser PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
