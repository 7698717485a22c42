# Link-time optimisation of the shared library: a walk through a tree goes from the component to the engine and back
# for every name and text. Only what stands behind the library's exports takes part: the static libraries that are
# installed hold machine code that every compiler can link.
if(KEL_LTO)
    include(CheckIPOSupported)
    check_ipo_supported(RESULT kel_lto_is_supported OUTPUT kel_lto_reason LANGUAGES CXX)
    if(kel_lto_is_supported)
        get_property(kel_lto_parts GLOBAL PROPERTY KEL_ENGINE_PARTS)
        foreach(part msxml_parser msxml_parser_static ${kel_lto_parts})
            if(TARGET ${part})
                set_target_properties(${part} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
            endif()
        endforeach()
    else()
        message(STATUS "No link-time optimisation: ${kel_lto_reason}")
    endif()
endif()
