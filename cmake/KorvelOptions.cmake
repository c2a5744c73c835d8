# How Korvel's own code is compiled. None of this reaches the targets that link the library.

function(korvel_own_code target)
    set_target_properties(${target} PROPERTIES
        CXX_STANDARD 20
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    endif()
    if(KORVEL_WERROR)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
    endif()
endfunction()

set(KORVEL_SANITIZE "" CACHE STRING "Sanitizers for the whole build, as -fsanitize= takes them")
if(KORVEL_SANITIZE)
    add_compile_options(-fsanitize=${KORVEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KORVEL_SANITIZE})
endif()
