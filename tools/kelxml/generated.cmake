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
# kelxml_writes(FILE DESTINATION LANGUAGE ARGUMENT...), in a folder of the build tree for each language; en: whatever the
# builder speaks.
function(kelxml_writes file destination language)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/generated/${language})
    set(path ${folder}/${file})
    # Written beside and renamed, so that a failure leaves nothing.
    add_custom_command(OUTPUT ${path}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C.UTF-8 LANGUAGE=${language} $<TARGET_FILE:kelxml> ${ARGN} > ${path}.new
        COMMAND ${CMAKE_COMMAND} -E rename ${path}.new ${path}
        DEPENDS kelxml catalogues_kelxml VERBATIM)
    install(FILES ${path} DESTINATION ${destination} COMPONENT tools)
    set(generated ${generated} ${path} PARENT_SCOPE)
endfunction()
kelxml_writes(kelxml.1 ${CMAKE_INSTALL_MANDIR}/man1 en manual)
file(STRINGS ${PROJECT_SOURCE_DIR}/po/kelxml/LINGUAS languages)
foreach(language IN LISTS languages)
    kelxml_writes(kelxml.1 ${CMAKE_INSTALL_MANDIR}/${language}/man1 ${language} manual)
endforeach()
kelxml_writes(kelxml ${KEL_BASH_COMPLETION_DIR} en completion bash)
kelxml_writes(_kelxml ${KEL_ZSH_COMPLETION_DIR} en completion zsh)
kelxml_writes(kelxml.fish ${KEL_FISH_COMPLETION_DIR} en completion fish)
add_custom_target(kelxml_generated ALL DEPENDS ${generated})
