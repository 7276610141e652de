# The few functions that every folder's CMakeLists.txt is made of.

set(LOAM_STAGED_HEADERS ${PROJECT_BINARY_DIR}/include)

# Puts the folder's public headers on the include path of outside programs, before and after installation.
# Only what is named here can be included by the examples, so that they never lean on an inner header.
function(loam_headers)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    file(MAKE_DIRECTORY ${LOAM_STAGED_HEADERS}/${folder})
    foreach(header IN LISTS ARGN)
        file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${LOAM_STAGED_HEADERS}/${folder}/${header} SYMBOLIC)
        set_property(GLOBAL APPEND PROPERTY LOAM_PUBLIC_HEADERS ${folder}/${header})
    endforeach()
    install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/loam/${folder})
endfunction()

# loam_module(<NAME> <module>): the target PkgConfig::LOAM_<NAME> for a library that pkg-config knows. What is asked for
# here is handed on by the installed package, to those who link a static Loam.
function(loam_module name module)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(LOAM_${name} REQUIRED IMPORTED_TARGET GLOBAL ${module})
    set_property(GLOBAL APPEND PROPERTY LOAM_MODULES LOAM_${name} ${module})
endfunction()

# Notes which sources make up a library on macOS, whatever this system is: what tools/check-macos compiles.
function(loam_note_macos_sources library)
    foreach(source IN LISTS ARGN)
        set_property(GLOBAL APPEND_STRING PROPERTY LOAM_MACOS_SOURCES
                     "${library} ${CMAKE_CURRENT_SOURCE_DIR}/${source}\n")
    endforeach()
endfunction()

# loam_objects(<folder> SOURCES a.cpp ... [LINUX_SOURCES b.cpp ...] [MACOS_SOURCES c.mm ...] [LIBRARIES lib ...]):
# one folder of Loam. SOURCES are portable; of the other two lists this system's own is compiled.
function(loam_objects folder)
    cmake_parse_arguments(arg "" "" "SOURCES;LINUX_SOURCES;MACOS_SOURCES;LIBRARIES" ${ARGN})
    loam_note_macos_sources(loam ${arg_SOURCES} ${arg_MACOS_SOURCES})
    if(APPLE)
        set(sources ${arg_SOURCES} ${arg_MACOS_SOURCES})
    else()
        set(sources ${arg_SOURCES} ${arg_LINUX_SOURCES})
    endif()
    if(NOT sources)
        return()
    endif()
    add_library(loam_${folder} OBJECT ${sources})
    target_include_directories(loam_${folder} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(loam_${folder} PRIVATE ${arg_LIBRARIES})
    set_property(GLOBAL APPEND PROPERTY LOAM_OBJECTS loam_${folder})
    set_property(GLOBAL APPEND PROPERTY LOAM_LIBRARIES ${arg_LIBRARIES})
endfunction()

# The finished library, made of all folders named so far, and `loam_inner`, which tests link to reach everything.
function(loam_library)
    get_property(folders GLOBAL PROPERTY LOAM_OBJECTS)
    get_property(libraries GLOBAL PROPERTY LOAM_LIBRARIES)
    set(objects ${folders})
    list(TRANSFORM objects REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")

    find_package(Threads REQUIRED)
    add_library(loam ${objects})
    target_link_libraries(loam PUBLIC marl PRIVATE ${libraries} Threads::Threads)
    loam_finish_library(loam)

    get_property(macosSources GLOBAL PROPERTY LOAM_MACOS_SOURCES)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/macos-sources.txt CONTENT "${macosSources}" @ONLY)

    add_library(loam_inner INTERFACE)
    target_include_directories(loam_inner INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(loam_inner INTERFACE ${libraries} Threads::Threads)
    target_sources(loam_inner INTERFACE ${objects} $<TARGET_OBJECTS:marl_objects>)
endfunction()

# What both shared libraries have in common: the alias, the staged headers, the version and the export map.
function(loam_finish_library name)
    add_library(Loam::${name} ALIAS ${name})
    target_include_directories(${name} INTERFACE $<BUILD_INTERFACE:${LOAM_STAGED_HEADERS}>
                                                 $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/loam>)
    target_compile_features(${name} INTERFACE cxx_std_17)
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    if(BUILD_SHARED_LIBS AND NOT APPLE)
        set(map ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
        target_link_options(${name} PRIVATE -Wl,--version-script=${map} -Wl,--no-undefined-version)
        if(NOT LOAM_SANITIZE)
            target_link_options(${name} PRIVATE -Wl,--no-undefined)
        endif()
        set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map})
    endif()
    install(TARGETS ${name} EXPORT LoamTargets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# loam_test(<name> SOURCES a_test.cpp ... [LIBRARIES lib ...] [LABEL fast|slow|net] [WRAP symbol ...])
# Every case is a ctest test of its own, so no case can lean on another. WRAP hands a C function to the test
# as __wrap_<symbol>.
function(loam_test name)
    cmake_parse_arguments(arg "" "LABEL" "SOURCES;LIBRARIES;WRAP" ${ARGN})
    if(NOT arg_LABEL)
        set(arg_LABEL fast)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE loam_testing loam_inner ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
    # The library under test stays optimised. Optimising the macros of tests takes longer than running them.
    if(LOAM_SANITIZE)
        target_compile_options(${name} PRIVATE -O0)
    else()
        target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
    endif()
    foreach(symbol IN LISTS arg_WRAP)
        target_link_options(${name} PRIVATE -Wl,--wrap=${symbol})
    endforeach()
    set(lock "")
    if(arg_LABEL STREQUAL net)
        # One at a time: a thousand connections of one case take the ports that another one counts on.
        set(lock RESOURCE_LOCK loopback)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
                         PROPERTIES LABELS ${arg_LABEL} TIMEOUT 300 ${lock})
endfunction()

if(LOAM_TESTS)
    include(GoogleTest)
endif()
