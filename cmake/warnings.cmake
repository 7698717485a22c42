# Warnings for our own targets only: users who build us from source see none of them as errors.
function(kel_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
    if(KEL_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
