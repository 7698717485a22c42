# Manual page and shell completion, written by the program itself from the definition of its command line.
set(KEL_BASH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions CACHE STRING
    "Where bash looks for completions")
set(KEL_ZSH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Where zsh looks for completions (Debian's packages use share/zsh/vendor-completions)")
set(KEL_FISH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d CACHE STRING
    "Where fish looks for completions")

# A program for another system does not run here; its packages go without.
if(CMAKE_CROSSCOMPILING)
    return()
endif()

set(generated)
# kelxml_writes(FILE DESTINATION ARGUMENT...)
function(kelxml_writes file destination)
    set(path ${CMAKE_CURRENT_BINARY_DIR}/generated/${file})
    # In English, whatever the builder speaks; written beside and renamed, so that a failure leaves nothing.
    add_custom_command(OUTPUT ${path}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/generated
        COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C LANGUAGE= $<TARGET_FILE:kelxml> ${ARGN} > ${path}.new
        COMMAND ${CMAKE_COMMAND} -E rename ${path}.new ${path}
        DEPENDS kelxml VERBATIM)
    install(FILES ${path} DESTINATION ${destination} COMPONENT tools)
    set(generated ${generated} ${path} PARENT_SCOPE)
endfunction()
kelxml_writes(kelxml.1 ${CMAKE_INSTALL_MANDIR}/man1 manual)
kelxml_writes(kelxml ${KEL_BASH_COMPLETION_DIR} completion bash)
kelxml_writes(_kelxml ${KEL_ZSH_COMPLETION_DIR} completion zsh)
kelxml_writes(kelxml.fish ${KEL_FISH_COMPLETION_DIR} completion fish)
add_custom_target(kelxml_generated ALL DEPENDS ${generated})
