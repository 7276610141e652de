# What `cmake --install` leaves: find_package(Loam) with Loam::loam and Loam::marl, and loam.pc and marl.pc.

include(CMakePackageConfigHelpers)

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
