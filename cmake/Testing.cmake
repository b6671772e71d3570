# Tests stand beside what they test; ctest runs them all, scripts/check counts their test functions.
enable_testing()
find_package(GTest REQUIRED)

# What ./check runs under the sanitizers of the preset "asan": see rr_run_sanitized().
add_custom_target(SanitizedTests)
function(rr_run_sanitized test)
    if(RR_SANITIZE)
        add_dependencies(SanitizedTests ${test})
        set_property(TEST ${test} APPEND PROPERTY LABELS Sanitized)
    endif()
endfunction()

# The folder of a test, which only QFINDTESTDATA asks for: no test here does, and where it differs no precompiled headers
# can be shared.
get_target_property(RR_QTTEST_DEFINITIONS Qt6::Test INTERFACE_COMPILE_DEFINITIONS)
list(FILTER RR_QTTEST_DEFINITIONS EXCLUDE REGEX "^QT_TESTCASE_")
set_target_properties(Qt6::Test PROPERTIES INTERFACE_COMPILE_DEFINITIONS "${RR_QTTEST_DEFINITIONS}")

# All tests use the same modules of Qt, so that one set of precompiled headers suits all.
add_library(QtTestModules INTERFACE)
target_link_libraries(QtTestModules INTERFACE Qt6::Core Qt6::Concurrent Qt6::Gui Qt6::Network Qt6::Qml Qt6::Quick
    Qt6::QuickControls2 Qt6::Svg Qt6::Widgets Qt6::Test)
# Tests are built often and run briefly: what they test is optimised, they are not. Under sanitizers they run longer.
set(RR_TEST_OPTIMIZATION -O0)
if(RR_SANITIZE)
    set(RR_TEST_OPTIMIZATION -O1)
endif()
set(RR_TEST_OPTIONS
    ${RR_TEST_OPTIMIZATION}
    -fPIE # what a library is made of otherwise differs from what a program is
    -Wno-conversion) # QTRY_VERIFY and its like narrow a duration in the caller's own source

# rr_precompiled_headers(name OPTIONS compiler-options HEADERS <a> ...): what all modules of Qt for tests have in common, for
# programs that are compiled with the same options. There is no such target where headers are not precompiled.
function(rr_precompiled_headers name)
    if(NOT RR_PRECOMPILED_HEADERS)
        return()
    endif()
    cmake_parse_arguments(H "" "" "OPTIONS;HEADERS" ${ARGN})
    string(TOLOWER "${name}" source)
    file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/${source}.cpp" CONTENT "")
    add_library(${name} OBJECT "${CMAKE_BINARY_DIR}/${source}.cpp")
    rr_target_defaults(${name})
    target_compile_options(${name} PRIVATE ${H_OPTIONS})
    target_link_libraries(${name} PRIVATE QtTestModules)
    target_precompile_headers(${name} PRIVATE <QtCore/QtCore> <QtQml/QQmlEngine> <QtQuick/QQuickItem>
        <QtTest/QTest> <QtWidgets/QApplication> ${H_HEADERS})
endfunction()

rr_precompiled_headers(TestHeaders OPTIONS ${RR_TEST_OPTIONS} HEADERS <QtTest/QSignalSpy>)
if(TARGET TestHeaders)
    set_target_properties(TestHeaders PROPERTIES POSITION_INDEPENDENT_CODE OFF)
endif()

# rr_test_library(name): the objects that several Qt tests share are compiled as the tests are.
function(rr_test_library name)
    rr_target_defaults(${name})
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    rr_qt_test_settings(${name})
endfunction()

function(rr_qt_test_settings name)
    target_compile_options(${name} PRIVATE ${RR_TEST_OPTIONS})
    target_link_libraries(${name} PRIVATE QtTestModules)
    if(TARGET TestHeaders)
        target_precompile_headers(${name} REUSE_FROM TestHeaders)
    endif()
endfunction()

# Most tests are one source that includes its own "name.moc": moc alone is quicker than the search for what wants it.
function(rr_test_moc name)
    set(sources ${ARGN})
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    set(headers ${ARGN})
    list(FILTER headers INCLUDE REGEX "\\.h$")
    list(LENGTH sources count)
    foreach(header IN LISTS headers)
        file(STRINGS "${header}" objects REGEX "Q_OBJECT" LIMIT_COUNT 1)
        if(objects)
            math(EXPR count "${count} + 1")
        endif()
    endforeach()
    if(count GREATER 1)
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
        return()
    endif()
    get_filename_component(base "${sources}" NAME_WE)
    get_filename_component(source "${sources}" ABSOLUTE)
    set(folder "${CMAKE_CURRENT_BINARY_DIR}/moc/${name}")
    file(MAKE_DIRECTORY "${folder}")
    qt_generate_moc("${source}" "${folder}/${base}.moc" TARGET ${name})
    target_sources(${name} PRIVATE "${folder}/${base}.moc")
    target_include_directories(${name} PRIVATE "${folder}")
endfunction()

# What tests fetch once and keep (a database server) is shared by all builds, unlike their other caches.
if(DEFINED ENV{XDG_CACHE_HOME})
    set(RR_TEST_CACHE "$ENV{XDG_CACHE_HOME}/record-and-replay")
else()
    set(RR_TEST_CACHE "$ENV{HOME}/.cache/record-and-replay")
endif()

# rr_add_test(NAME name SOURCES a.cpp ... LIBS lib ... [GTEST] [TIMEOUT seconds] [LABELS l ...] [ARGS a ...])
# One executable, Qt Test unless GTEST is given.
# Tests draw offscreen, speak English, use only the loopback device, and keep settings, data and caches in the build tree, not in the
# person's home; RUN_SERIAL is for those that need the machine to themselves.
function(rr_add_test)
    cmake_parse_arguments(T "GTEST;RUN_SERIAL" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS;ARGS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    rr_target_defaults(${T_NAME})
    set_target_properties(${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    # One source a program, mostly: nothing is won.
    set_target_properties(${T_NAME} PROPERTIES UNITY_BUILD OFF)
    if(T_GTEST)
        target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest)
        target_compile_options(${T_NAME} PRIVATE -O0)
    else()
        rr_test_moc(${T_NAME} ${T_SOURCES})
        target_link_libraries(${T_NAME} PRIVATE ${T_LIBS})
        rr_qt_test_settings(${T_NAME})
    endif()
    add_test(NAME ${T_NAME} COMMAND ${T_NAME} ${T_ARGS})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set(T_HOME "${CMAKE_BINARY_DIR}/Testing/home/${T_NAME}")
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT}
        ENVIRONMENT "QTEST_DISABLE_STACK_DUMP=1;QT_QPA_PLATFORM=offscreen;QT_LOGGING_RULES=;LC_ALL=C.UTF-8;LANGUAGE=;XDG_CONFIG_HOME=${T_HOME}/config;XDG_DATA_HOME=${T_HOME}/data;XDG_CACHE_HOME=${T_HOME}/cache;RR_TEST_CACHE=${RR_TEST_CACHE}")
    if(RR_SANITIZE)
        # Leaks are not looked for: that needs rights which not every container gives.
        set_property(TEST ${T_NAME} APPEND PROPERTY ENVIRONMENT
            "ASAN_OPTIONS=detect_leaks=0:malloc_context_size=12" "UBSAN_OPTIONS=print_stacktrace=1")
    endif()
    if(T_RUN_SERIAL)
        set_tests_properties(${T_NAME} PROPERTIES RUN_SERIAL ON)
    endif()
    if(T_LABELS)
        set_tests_properties(${T_NAME} PROPERTIES LABELS "${T_LABELS}")
    endif()
endfunction()
