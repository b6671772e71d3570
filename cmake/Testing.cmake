# Tests stand beside what they test; ctest runs them all, scripts/check counts their test functions.
enable_testing()
find_package(GTest REQUIRED)

# rr_add_test(NAME name SOURCES a.cpp ... LIBS lib ... [GTEST] [TIMEOUT seconds] [LABELS l ...] [ARGS a ...])
# One executable, Qt Test unless GTEST is given.
# Tests draw offscreen, speak English, use only the loopback device, and keep settings, data and caches in the build tree, not in the
# person's home; RUN_SERIAL is for those that need the machine to themselves.
function(rr_add_test)
    cmake_parse_arguments(T "GTEST;RUN_SERIAL" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS;ARGS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    rr_target_defaults(${T_NAME})
    # Tests are built often and run briefly: what they test is optimised, they are not.
    target_compile_options(${T_NAME} PRIVATE -O0)
    set_target_properties(${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    if(T_GTEST)
        target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest)
    else()
        set_target_properties(${T_NAME} PROPERTIES AUTOMOC ON)
        target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} Qt6::Test)
        # QTRY_VERIFY and its like narrow a duration in the caller's own source.
        target_compile_options(${T_NAME} PRIVATE -Wno-conversion)
    endif()
    add_test(NAME ${T_NAME} COMMAND ${T_NAME} ${T_ARGS})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set(T_HOME "${CMAKE_BINARY_DIR}/Testing/home/${T_NAME}")
    set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_LOGGING_RULES=;LC_ALL=C.UTF-8;LANGUAGE=;XDG_CONFIG_HOME=${T_HOME}/config;XDG_DATA_HOME=${T_HOME}/data;XDG_CACHE_HOME=${T_HOME}/cache")
    if(T_RUN_SERIAL)
        set_tests_properties(${T_NAME} PROPERTIES RUN_SERIAL ON)
    endif()
    if(T_LABELS)
        set_tests_properties(${T_NAME} PROPERTIES LABELS "${T_LABELS}")
    endif()
endfunction()
