# Cassandra as a store, when its driver can be built: a Rust crate, whose C interface is driver/cassandra_driver.h. Sets
# RR_HAS_CASSANDRA; included by data.cmake.
set(RR_CASSANDRA AUTO CACHE STRING "Cassandra as a store: AUTO (when cargo and the crates can be had), ON or OFF")
set_property(CACHE RR_CASSANDRA PROPERTY STRINGS AUTO ON OFF)
set(RR_HAS_CASSANDRA OFF)
set(RR_CASSANDRA_DRIVER "${CMAKE_CURRENT_LIST_DIR}/driver")

# Sets the variable to what is missing, or to nothing. The crates are fetched here, so that building needs no network.
function(rr_find_cassandra missing)
    find_program(RR_CARGO cargo)
    if(NOT RR_CARGO)
        set(${missing} "cargo 1.85 or later is not installed" PARENT_SCOPE)
        return()
    endif()
    execute_process(COMMAND "${RR_CARGO}" --version OUTPUT_VARIABLE version ERROR_QUIET)
    if(NOT version MATCHES "^cargo ([0-9.]+)" OR CMAKE_MATCH_1 VERSION_LESS 1.85)
        string(STRIP "${version}" version)
        set(${missing} "cargo 1.85 or later is needed, and ${RR_CARGO} is \"${version}\"" PARENT_SCOPE)
        return()
    endif()
    pkg_check_modules(RR_OPENSSL QUIET openssl)
    if(NOT RR_OPENSSL_FOUND)
        set(${missing} "the headers of OpenSSL are not installed" PARENT_SCOPE)
        return()
    endif()
    execute_process(COMMAND rustc -vV OUTPUT_VARIABLE version ERROR_QUIET)
    set(target "")
    if(version MATCHES "host: ([^\n]+)")
        set(target --target "${CMAKE_MATCH_1}") # nothing for other systems
    endif()
    rr_cargo_fetch(why "${RR_CASSANDRA_DRIVER}" ${target})
    if(why)
        string(REGEX REPLACE "\n.*" "" why "${why}")
        set(why "its crates cannot be fetched (${why})")
    endif()
    set(${missing} "${why}" PARENT_SCOPE)
endfunction()

if(RR_CASSANDRA STREQUAL "OFF")
    return()
endif()
rr_find_cassandra(missing)
set(RR_CASSANDRA_MISSING "${missing}" CACHE INTERNAL "Why there is no Cassandra as a store")
if(RR_CASSANDRA_MISSING)
    if(RR_CASSANDRA STREQUAL "AUTO")
        message(STATUS "Without Cassandra as a store: ${RR_CASSANDRA_MISSING}")
        return()
    endif()
    message(FATAL_ERROR "Cassandra as a store was asked for (RR_CASSANDRA=ON): ${RR_CASSANDRA_MISSING}")
endif()
set(RR_HAS_CASSANDRA ON)

set(RR_CASSANDRA_TARGETS "${CMAKE_CURRENT_BINARY_DIR}/cassandra_driver")
set(RR_CASSANDRA_LIBRARY "${RR_CASSANDRA_TARGETS}/release/libcassandra_driver.a")
file(GLOB RR_CASSANDRA_SOURCES CONFIGURE_DEPENDS "${RR_CASSANDRA_DRIVER}/src/*.rs")
add_custom_command(OUTPUT "${RR_CASSANDRA_LIBRARY}"
    COMMAND "${RR_CARGO}" build --quiet --release --locked --offline --target-dir "${RR_CASSANDRA_TARGETS}"
    DEPENDS ${RR_CASSANDRA_SOURCES} "${RR_CASSANDRA_DRIVER}/Cargo.toml" "${RR_CASSANDRA_DRIVER}/Cargo.lock"
    WORKING_DIRECTORY "${RR_CASSANDRA_DRIVER}" VERBATIM COMMENT "Building the Cassandra driver (a minute or two, once)")
add_custom_target(CassandraDriverBuild DEPENDS "${RR_CASSANDRA_LIBRARY}")
add_library(CassandraDriver STATIC IMPORTED GLOBAL)
set_target_properties(CassandraDriver PROPERTIES IMPORTED_LOCATION "${RR_CASSANDRA_LIBRARY}"
    INTERFACE_LINK_LIBRARIES "ssl;crypto;m;${CMAKE_DL_LIBS};Threads::Threads")
add_dependencies(CassandraDriver CassandraDriverBuild)

add_library(qnyRecorderCassandra STATIC
    ${CMAKE_CURRENT_LIST_DIR}/cassandradatabase.cpp
    ${CMAKE_CURRENT_LIST_DIR}/cassandrastore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/connection.cpp
    ${CMAKE_CURRENT_LIST_DIR}/context.cpp
    ${CMAKE_CURRENT_LIST_DIR}/processplace.cpp
    ${CMAKE_CURRENT_LIST_DIR}/recordchunks.cpp
    ${CMAKE_CURRENT_LIST_DIR}/repair.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rows.cpp
    ${CMAKE_CURRENT_LIST_DIR}/schema.cpp
    ${CMAKE_CURRENT_LIST_DIR}/sink.cpp
    ${CMAKE_CURRENT_LIST_DIR}/upkeep.cpp
)
rr_target_defaults(qnyRecorderCassandra)
target_link_libraries(qnyRecorderCassandra PUBLIC qnyRecorderData PRIVATE CassandraDriver)
target_compile_definitions(qnyRecorderCassandra INTERFACE RR_HAS_CASSANDRA)
