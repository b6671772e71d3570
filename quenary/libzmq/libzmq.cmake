# libzmq 4.3.5 with what is mended in patches/, for libquenary alone: RR::zmq. The distribution's is not used there, for
# others could end a process that has it, or be taken for somebody else (patches/ says how); the source comes by cargo,
# which knows it by its checksum.
set(RR_ZMQ_HERE "${CMAKE_CURRENT_LIST_DIR}")
set(RR_ZMQ_SOURCE "${CMAKE_CURRENT_BINARY_DIR}/libzmq")
file(GLOB RR_ZMQ_PATCHES CONFIGURE_DEPENDS "${RR_ZMQ_HERE}/patches/*.patch")

# Sets the variable to where the source is that was fetched.
function(rr_fetch_zmq directory)
    find_program(RR_CARGO cargo)
    find_program(RR_PATCH patch)
    if(NOT RR_CARGO OR NOT RR_PATCH)
        message(FATAL_ERROR "The source of libzmq is fetched by cargo and mended by patch, and one of them is missing: scripts/setup installs both.")
    endif()
    rr_cargo_fetch(why "${RR_ZMQ_HERE}")
    if(why)
        message(FATAL_ERROR "The source of libzmq cannot be fetched; once it was, no network is needed any more. cargo says:\n${why}")
    endif()
    execute_process(COMMAND "${RR_CARGO}" metadata --quiet --locked --offline --format-version 1 WORKING_DIRECTORY "${RR_ZMQ_HERE}"
        OUTPUT_VARIABLE metadata COMMAND_ERROR_IS_FATAL ANY)
    if(NOT metadata MATCHES "\"manifest_path\":\"([^\"]*/zeromq-src-[^\"/]*)/Cargo.toml\"")
        message(FATAL_ERROR "cargo does not say where it put the source of libzmq.")
    endif()
    set(${directory} "${CMAKE_MATCH_1}/vendor" PARENT_SCOPE)
endfunction()

# The mended source is made anew when a patch was changed.
set(RR_ZMQ_STATE "")
foreach(file IN LISTS RR_ZMQ_PATCHES ITEMS "${RR_ZMQ_HERE}/Cargo.lock")
    file(SHA256 "${file}" sum)
    string(APPEND RR_ZMQ_STATE "${sum}\n")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
endforeach()
set(had "")
if(EXISTS "${RR_ZMQ_SOURCE}/state")
    file(READ "${RR_ZMQ_SOURCE}/state" had)
endif()
if(NOT had STREQUAL RR_ZMQ_STATE)
    rr_fetch_zmq(fetched)
    file(REMOVE_RECURSE "${RR_ZMQ_SOURCE}")
    file(COPY "${fetched}/src" "${fetched}/include" "${fetched}/LICENSE" DESTINATION "${RR_ZMQ_SOURCE}")
    foreach(patch IN LISTS RR_ZMQ_PATCHES)
        execute_process(COMMAND "${RR_PATCH}" --quiet --batch --forward -p1 --input "${patch}" WORKING_DIRECTORY "${RR_ZMQ_SOURCE}"
            COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    file(WRITE "${RR_ZMQ_SOURCE}/state" "${RR_ZMQ_STATE}")
endif()

include(CheckCXXSymbolExists)
check_cxx_symbol_exists(strlcpy string.h ZMQ_HAVE_STRLCPY) # since glibc 2.38

file(GLOB RR_ZMQ_FILES "${RR_ZMQ_SOURCE}/src/*.cpp")
list(FILTER RR_ZMQ_FILES EXCLUDE REGEX "/wss?_") # WebSockets
add_library(quenary_zmq STATIC ${RR_ZMQ_FILES})
set_target_properties(quenary_zmq PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
    CXX_CLANG_TIDY "" UNITY_BUILD OFF)
target_compile_options(quenary_zmq PRIVATE -w)
if(RR_SANITIZE MATCHES "thread")
    # Else what it hands from its threads to ours looks like a race.
    target_compile_options(quenary_zmq PRIVATE -fsanitize=thread)
endif()
target_compile_definitions(quenary_zmq PRIVATE _GNU_SOURCE $<$<BOOL:${ZMQ_HAVE_STRLCPY}>:ZMQ_HAVE_STRLCPY> PUBLIC ZMQ_NO_EXPORT)
target_include_directories(quenary_zmq PRIVATE "${RR_ZMQ_HERE}" "${RR_ZMQ_SOURCE}/src")
target_include_directories(quenary_zmq SYSTEM PUBLIC "${RR_ZMQ_SOURCE}/include")
target_link_libraries(quenary_zmq PRIVATE PkgConfig::SODIUM Threads::Threads)
add_library(RR::zmq ALIAS quenary_zmq)
