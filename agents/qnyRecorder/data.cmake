# The data side of the recorder: events, chunks, stores, CSV, filters. Included by CMakeLists.txt; gives the static library
# qnyRecorderData, which knows the network library's header and nothing else of it, and its tests.
add_library(qnyRecorderData STATIC
    ${CMAKE_CURRENT_LIST_DIR}/completeness.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dates.cpp
    ${CMAKE_CURRENT_LIST_DIR}/event.cpp
    ${CMAKE_CURRENT_LIST_DIR}/chunk/checksum.cpp
    ${CMAKE_CURRENT_LIST_DIR}/chunk/packedchunk.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/base64.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/csvreader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/csvwriter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/export.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/facts.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/filebackend.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/fileindex.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/filerecord.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/import.cpp
    ${CMAKE_CURRENT_LIST_DIR}/csv/utf8.cpp
    ${CMAKE_CURRENT_LIST_DIR}/filters/recordingfilter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/chunkcursor.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/chunkedreader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/chunkedwriter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/recordlist.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/recordrow.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/tally.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/closing.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/context.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/csvfilestore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/csvfilewriter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/filenames.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/recordfile.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/csvfile/repair.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/spill/batchbytes.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/spill/journal.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/spill/spillcontext.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/spill/spilledrecord.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/spill/spillingstore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/context.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/database.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/embeddedreader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/embeddedstore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/embeddedwriter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/ownerlock.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/schema.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/embedded/upkeep.cpp
    ${CMAKE_CURRENT_LIST_DIR}/store/cassandra/replication.cpp
)
rr_target_defaults(qnyRecorderData)
target_include_directories(qnyRecorderData PUBLIC ${CMAKE_CURRENT_LIST_DIR} PRIVATE ${CMAKE_SOURCE_DIR}/quenary/include)
target_link_libraries(qnyRecorderData PUBLIC Qt6::Core PRIVATE PkgConfig::SQLITE3 Threads::Threads)

include(${CMAKE_CURRENT_LIST_DIR}/store/cassandra/cassandra.cmake)

foreach(name packedchunk csv recordingfilter event)
    rr_add_test(NAME tst_recorder_${name} SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/tst_${name}.cpp LIBS qnyRecorderData)
    target_compile_definitions(tst_recorder_${name} PRIVATE RR_GOLDEN_DIRECTORY="${CMAKE_CURRENT_LIST_DIR}/tests/golden")
endforeach()

# The behaviour that every store must show; a store's test links it and runs it over that store.
add_library(qnyRecorderStoreSuite STATIC
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/childrecorder.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/recordtools.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite.h
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite_crash.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite_events.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite_exchange.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite_fulldisk.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/store/storesuite_records.cpp
)
rr_target_defaults(qnyRecorderStoreSuite)
set_target_properties(qnyRecorderStoreSuite PROPERTIES AUTOMOC ON)
target_link_libraries(qnyRecorderStoreSuite PUBLIC qnyRecorderData Qt6::Test)
target_compile_definitions(qnyRecorderStoreSuite PUBLIC RR_GOLDEN_DIRECTORY="${CMAKE_CURRENT_LIST_DIR}/tests/golden")

# Rounds of what may happen to a recorder, with an account of every event; scripts/loss-test runs many of them.
add_library(qnyRecorderLossRounds STATIC
    ${CMAKE_CURRENT_LIST_DIR}/tests/losses/kills.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/losses/lossrounds.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/losses/producer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/tests/losses/wire.cpp
)
rr_target_defaults(qnyRecorderLossRounds)
target_link_libraries(qnyRecorderLossRounds PUBLIC qnyRecorderStoreSuite Threads::Threads)
rr_add_test(NAME tst_recorder_losses SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/losses/tst_losses.cpp
    LIBS qnyRecorderLossRounds PkgConfig::SQLITE3 TIMEOUT 240)

rr_add_test(NAME tst_recorder_embeddedstore SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/store/tst_embeddedstore.cpp
    LIBS qnyRecorderStoreSuite PkgConfig::SQLITE3 TIMEOUT 240)
rr_add_test(NAME tst_recorder_csvfilestore SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/store/tst_csvfilestore.cpp
    LIBS qnyRecorderStoreSuite TIMEOUT 240)

rr_add_test(NAME tst_recorder_spilljournal SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/store/tst_spilljournal.cpp
    LIBS qnyRecorderData)
target_compile_definitions(tst_recorder_spilljournal PRIVATE RR_GOLDEN_DIRECTORY="${CMAKE_CURRENT_LIST_DIR}/tests/golden")

rr_add_test(NAME tst_recorder_spillingstore LIBS qnyRecorderStoreSuite PkgConfig::SQLITE3 TIMEOUT 240
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/store/tst_spillingstore.cpp ${CMAKE_CURRENT_LIST_DIR}/tests/store/faultydatabase.cpp)

# Among the longest: they begin first.
set_tests_properties(tst_recorder_embeddedstore tst_recorder_csvfilestore tst_recorder_spillingstore
    PROPERTIES COST 100 TIMEOUT 600)
