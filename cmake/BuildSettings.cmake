# What every target shares: language, warnings, assertions, sanitizers, the run-time layout.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

option(RR_WARNINGS_AS_ERRORS "Warnings end the build" OFF)
option(RR_PRECOMPILED_HEADERS "Precompile Qt's headers for the larger targets" ON)
set(RR_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them (address,undefined or thread)")
set(RR_COVERAGE "" CACHE STRING "Targets whose executed lines are counted (see scripts/coverage)")

# ccache makes a second build from scratch a matter of seconds, also in another folder; a launcher given from outside wins.
# A precompiled header is taken by its contents, not by its date.
find_program(RR_CCACHE ccache)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
endif()
if(RR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(launcher "${CMAKE_CURRENT_LIST_DIR}/cached-compile" "${CMAKE_SOURCE_DIR}")
    set(CMAKE_C_COMPILER_LAUNCHER "${launcher}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${launcher}")
endif()

# A tenth of the time for each of more than a hundred programs.
find_program(RR_MOLD mold)
if(RR_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

# A program links what it calls itself, and not all that its libraries stand on.
add_link_options(-Wl,--as-needed)

find_package(Qt6 6.8 REQUIRED COMPONENTS Core Gui Qml Quick QuickControls2 Widgets Concurrent Svg Test Network LinguistTools)
find_package(PkgConfig REQUIRED)
pkg_check_modules(ZMQ REQUIRED IMPORTED_TARGET libzmq>=4.3)
pkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET sqlite3)
find_package(Threads REQUIRED)

# The build tree is laid out as an installation is, so that programs find one another without copies.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/libexec")

# Every target of ours calls this: warnings, live assertions, sanitizers.
function(rr_target_defaults target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -Wno-sign-conversion)
    if(RR_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # There every source is an included file, so each class that uses an unnamed namespace looks like one of a header.
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
    # Broken invariants stop the program in every kind of build.
    target_compile_definitions(${target} PRIVATE QT_FORCE_ASSERTS QT_NO_CAST_FROM_BYTEARRAY)
    target_compile_options(${target} PRIVATE -UNDEBUG)
    if(RR_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${RR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${RR_SANITIZE})
    endif()
    # Not optimised, so that every line is where it was written; whoever links the objects needs the counters' runtime.
    if("${target}" IN_LIST RR_COVERAGE)
        target_compile_options(${target} PRIVATE -O0 --coverage)
        target_link_options(${target} PUBLIC --coverage)
    endif()
endfunction()

# Precompiles the named headers for a target of many sources: rr_precompile(target <QtCore> <QtQml>). Sources that
# are compiled together read them once anyway.
function(rr_precompile target)
    if(RR_PRECOMPILED_HEADERS AND NOT CMAKE_UNITY_BUILD)
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()
