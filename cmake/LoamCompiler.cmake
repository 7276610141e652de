# How everything here is compiled: the language level, the warnings, hidden visibility and hardening.

include(CheckCXXCompilerFlag)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

find_program(LOAM_CCACHE ccache)
if(LOAM_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${LOAM_CCACHE})
endif()

# What the library exports can't be replaced from outside, so its own calls are direct and may be inlined.
add_compile_options(-fno-semantic-interposition)
if(NOT APPLE)
    add_link_options(-Wl,-Bsymbolic-functions)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(APPLE)
    # Four-character codes are written as their text, and some services have no call but a deprecated one.
    add_compile_options(-Wno-deprecated-declarations -Wno-multichar -Wno-four-char-constants)
endif()
if(LOAM_WERROR)
    add_compile_options(-Werror)
endif()

set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

if(LOAM_SANITIZE)
    add_compile_options(-fsanitize=${LOAM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${LOAM_SANITIZE})
else()
    # Hardening costs next to nothing in the measured loops and is on in every optimised build.
    foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
        string(MAKE_C_IDENTIFIER "LOAM_HAS${flag}" has)
        check_cxx_compiler_flag("-Werror ${flag}" ${has})
        if(${has})
            add_compile_options(${flag})
        endif()
    endforeach()
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE>
                        $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=3>)
    if(NOT APPLE)
        add_link_options(-Wl,-z,relro -Wl,-z,now)
    endif()
endif()
if(NOT APPLE)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-Wl,--as-needed)
endif()
