# What the library is built on.
#
# Its headers show glm only. Everything else is private: a program that uses the shared library
# needs none of it, a program that links the static library needs it to link. The list is said
# once, as TARGET=module for pkg-config: it makes the imported targets PkgConfig::TARGET here and
# in the installed package, and the Requires.private line of the pkg-config file.
set(MIVORA_PRIVATE_MODULES
    EPOXY=epoxy GLIB=glib-2.0 GDK_PIXBUF=gdk-pixbuf-2.0
    PANGOCAIRO=pangocairo CAIRO=cairo FONTCONFIG=fontconfig)

find_package(glm REQUIRED)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

set(MIVORA_PRIVATE_TARGETS Threads::Threads)
set(MIVORA_PRIVATE_MODULE_NAMES "")
foreach(entry IN LISTS MIVORA_PRIVATE_MODULES)
    string(REPLACE "=" ";" entry "${entry}")
    list(POP_FRONT entry name module)
    pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${module})
    list(APPEND MIVORA_PRIVATE_TARGETS PkgConfig::${name})
    list(APPEND MIVORA_PRIVATE_MODULE_NAMES ${module})
endforeach()

# The host on a desktop is built where there is a toolkit to build it with.
set(MIVORA_GTK_MODULE "gtk4 >= 4.8")
pkg_check_modules(GTK4 QUIET IMPORTED_TARGET "${MIVORA_GTK_MODULE}")
option(MIVORA_BUILD_GTK "Build the host on a desktop, MivoraMac::Gtk" ${GTK4_FOUND})
if(MIVORA_BUILD_GTK AND NOT GTK4_FOUND)
    message(FATAL_ERROR "MIVORA_BUILD_GTK needs ${MIVORA_GTK_MODULE}, which pkg-config does not find")
elseif(NOT MIVORA_BUILD_GTK)
    message(STATUS "Without MivoraMac::Gtk, the host on a desktop: "
                   "MIVORA_BUILD_GTK is off (found gtk4: ${GTK4_FOUND})")
endif()
