# The data side of the recorder: events, chunks, stores, CSV, filters. Included by CMakeLists.txt; gives the static library
# qnyRecorderData, which knows the network library's header and nothing else of it.
add_library(qnyRecorderData STATIC
    ${CMAKE_CURRENT_LIST_DIR}/event.cpp
    ${CMAKE_CURRENT_LIST_DIR}/completeness.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dates.cpp
    ${CMAKE_CURRENT_LIST_DIR}/filters/recordingfilter.cpp
)
rr_target_defaults(qnyRecorderData)
target_include_directories(qnyRecorderData PUBLIC ${CMAKE_CURRENT_LIST_DIR} PRIVATE ${CMAKE_SOURCE_DIR}/quenary/include)
target_link_libraries(qnyRecorderData PUBLIC Qt6::Core PRIVATE PkgConfig::SQLITE3 Threads::Threads)
