# What `cmake --install` puts into the prefix: the headers, the library, the CMake package
# (find_package(MivoraMac) gives MivoraMac::MivoraMac and, where the host on a desktop was built,
# MivoraMac::Gtk) and MivoraMac.pc and MivoraMacGtk.pc for pkg-config. All of them find the rest of
# the prefix from where they lie themselves, so a prefix may be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/MivoraMac)
set(package_files ${PROJECT_BINARY_DIR}/package)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS MivoraMac
    EXPORT MivoraMacTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT MivoraMacTargets NAMESPACE MivoraMac:: DESTINATION ${package_dir})
if(MIVORA_BUILD_GTK)
    # Apart from the other, so that programs that show no windows need no toolkit.
    install(TARGETS MivoraMacGtk
        EXPORT MivoraMacGtkTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(EXPORT MivoraMacGtkTargets NAMESPACE MivoraMac:: DESTINATION ${package_dir})
endif()

set(MIVORA_STATIC_MODULES "")
set(MIVORA_GTK_STATIC_MODULES "")
set(MIVORA_PC_GTK_PRIVATE "")
set(MIVORA_PC_GTK_LIBS "-Wl,--push-state,--no-as-needed,-lMivoraMacGtk,--pop-state")
set(MIVORA_PC_CFLAGS "")
set(MIVORA_PC_PRIVATE "")
if(NOT BUILD_SHARED_LIBS)
    set(MIVORA_STATIC_MODULES ${MIVORA_PRIVATE_MODULES})
    list(JOIN MIVORA_PRIVATE_MODULE_NAMES " " modules)
    set(MIVORA_GTK_STATIC_MODULES GTK4=gtk4 EPOXY=epoxy)
    set(MIVORA_PC_CFLAGS " -DMIVORA_STATIC")
    set(MIVORA_PC_GTK_PRIVATE "Requires.private: ${MIVORA_GTK_MODULE} epoxy\nLibs.private: -ldl\n")
    set(MIVORA_PC_GTK_LIBS "-Wl,--undefined=mivoraGtkHostIsLinked -lMivoraMacGtk")
    set(MIVORA_PC_PRIVATE "Requires.private: ${modules}\nLibs.private: -pthread -lstdc++ -lm\n")
endif()

configure_package_config_file(cmake/MivoraMacConfig.cmake.in
    ${package_files}/MivoraMacConfig.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${package_files}/MivoraMacConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${package_files}/MivoraMacConfig.cmake ${package_files}/MivoraMacConfigVersion.cmake
    DESTINATION ${package_dir})

# pkg-config knows the folder of the file it reads as pcfiledir; the prefix is so many steps up.
file(RELATIVE_PATH MIVORA_PC_PREFIX
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" MIVORA_PC_PREFIX "${MIVORA_PC_PREFIX}")
configure_file(cmake/MivoraMac.pc.in ${package_files}/MivoraMac.pc @ONLY)
install(FILES ${package_files}/MivoraMac.pc DESTINATION ${pkgconfig_dir})
if(MIVORA_BUILD_GTK)
    configure_file(cmake/MivoraMacGtk.pc.in ${package_files}/MivoraMacGtk.pc @ONLY)
    install(FILES ${package_files}/MivoraMacGtk.pc DESTINATION ${pkgconfig_dir})
endif()
