# What every target of this repository is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# The flags of the sanitizers, for compiling as well as for linking. Undefined behaviour ends the
# program, so that a test that meets it fails.
set(MIVORA_SANITIZE_FLAGS "")
if(MIVORA_SANITIZE)
    set(MIVORA_SANITIZE_FLAGS -fsanitize=${MIVORA_SANITIZE} -fno-omit-frame-pointer)
    if(MIVORA_SANITIZE MATCHES "undefined")
        list(APPEND MIVORA_SANITIZE_FLAGS -fno-sanitize-recover=undefined)
    endif()
endif()

function(mivora_compile_options target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow ${MIVORA_SANITIZE_FLAGS})
    target_link_options(${target} PRIVATE ${MIVORA_SANITIZE_FLAGS})
    if(MIVORA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
