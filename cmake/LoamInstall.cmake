# What `cmake --install` leaves: find_package(Loam) with Loam::loam and Loam::marl, and loam.pc and marl.pc.

include(CMakePackageConfigHelpers)

# Pairs of a name and pkg-config's module; the .pc file wants the modules alone.
get_property(LOAM_MODULES GLOBAL PROPERTY LOAM_MODULES)
set(LOAM_PC_MODULES ${LOAM_MODULES})
list(FILTER LOAM_PC_MODULES EXCLUDE REGEX "^LOAM_")
list(JOIN LOAM_PC_MODULES " " LOAM_PC_MODULES)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Loam)

install(EXPORT LoamTargets NAMESPACE Loam:: DESTINATION ${package_folder})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/LoamConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/LoamConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LoamConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LoamConfig.cmake ${PROJECT_BINARY_DIR}/LoamConfigVersion.cmake
        DESTINATION ${package_folder})

# The .pc files find their prefix from their own place, so that an installed tree can be moved.
file(RELATIVE_PATH LOAM_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" LOAM_PC_TO_PREFIX "${LOAM_PC_TO_PREFIX}")
foreach(name IN ITEMS loam marl)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
