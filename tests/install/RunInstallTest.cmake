# One step of the install tests, run as a script: see CMakeLists.txt beside it.
cmake_minimum_required(VERSION 3.25)

function(run)
    list(JOIN ARGV " " line)
    message(STATUS "${line}")
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(STEP STREQUAL "install")
    # Into one folder, then moved to the other.
    set(first_prefix ${PREFIX}-made)
    file(REMOVE_RECURSE ${PREFIX} ${first_prefix})
    run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${first_prefix})
    file(RENAME ${first_prefix} ${PREFIX})

    file(GLOB_RECURSE files RELATIVE ${PREFIX} ${PREFIX}/*)
    foreach(file IN LISTS files)
        if(NOT file MATCHES "^include/MivoraMac/.*\\.h$" AND
           NOT file MATCHES "^${LIBDIR}/libMivoraMac[^/]*$" AND
           NOT file MATCHES "^${LIBDIR}/cmake/MivoraMac/MivoraMac[^/]*\\.cmake$" AND
           NOT file MATCHES "^${LIBDIR}/pkgconfig/MivoraMac(Gtk)?\\.pc$")
            message(SEND_ERROR "installed without need: ${file}")
        endif()
        if(file MATCHES "Private\\.h$")
            message(SEND_ERROR "a private header is installed: ${file}")
        endif()
    endforeach()
    foreach(file IN ITEMS include/MivoraMac/MivoraMac.h
            ${LIBDIR}/cmake/MivoraMac/MivoraMacConfig.cmake
            ${LIBDIR}/cmake/MivoraMac/MivoraMacConfigVersion.cmake
            ${LIBDIR}/pkgconfig/MivoraMac.pc)
        if(NOT file IN_LIST files)
            message(SEND_ERROR "not installed: ${file}")
        endif()
    endforeach()

    # Nothing that programs read may name the folder the library was installed to or built in.
    file(GLOB_RECURSE packages ${PREFIX}/*.cmake ${PREFIX}/*.pc)
    foreach(package IN LISTS packages)
        file(READ ${package} text)
        foreach(folder IN ITEMS ${first_prefix} ${BUILD_DIR})
            string(FIND "${text}" "${folder}" found)
            if(NOT found EQUAL -1)
                message(SEND_ERROR "${package} names ${folder}")
            endif()
        endforeach()
    endforeach()

elseif(STEP STREQUAL "find-package")
    set(build ${WORK_DIR}/find-package-${PACKAGE})
    file(REMOVE_RECURSE ${build})
    run(${CMAKE_COMMAND} -S ${PROGRAM_DIR} -B ${build} -G ${GENERATOR}
        -D CMAKE_CXX_COMPILER=${COMPILER}
        -D CMAKE_CXX_FLAGS=${FLAGS}
        -D CMAKE_BUILD_TYPE=${CONFIG}
        -D CMAKE_PREFIX_PATH=${PREFIX})
    run(${CMAKE_COMMAND} --build ${build} --config ${CONFIG})
    # The package found must be the one under test, not one that the machine happens to have.
    load_cache(${build} READ_WITH_PREFIX found_ MivoraMac_DIR)
    if(NOT found_MivoraMac_DIR STREQUAL "${PREFIX}/${LIBDIR}/cmake/MivoraMac")
        message(FATAL_ERROR "found another package: ${found_MivoraMac_DIR}")
    endif()
    run(${LAUNCHER} ${build}/program ${VERSION})

elseif(STEP STREQUAL "pkg-config")
    set(build ${WORK_DIR}/pkg-config-${PACKAGE})
    file(REMOVE_RECURSE ${build})
    file(MAKE_DIRECTORY ${build})
    set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
    set(static "")
    if(NOT SHARED)
        set(static --static)
    endif()
    find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
    execute_process(COMMAND ${PKG_CONFIG} --modversion ${PACKAGE}
        OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT version STREQUAL VERSION)
        message(FATAL_ERROR "pkg-config says version ${version}")
    endif()
    execute_process(COMMAND ${PKG_CONFIG} ${static} --cflags --libs ${PACKAGE}
        OUTPUT_VARIABLE package_flags COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(package_flags UNIX_COMMAND "${package_flags}")
    separate_arguments(FLAGS UNIX_COMMAND "${FLAGS}")
    run(${COMPILER} -std=c++20 ${FLAGS} ${PROGRAM_DIR}/main.cpp -o ${build}/program
        ${package_flags})
    set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
    run(${LAUNCHER} ${build}/program ${VERSION})

else()
    message(FATAL_ERROR "unknown step: ${STEP}")
endif()
