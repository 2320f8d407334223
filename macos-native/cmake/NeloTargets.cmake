# How every target of ours is compiled. Nothing is set for a whole folder.
add_library(nelo_warnings INTERFACE)
target_compile_features(nelo_warnings INTERFACE cxx_std_20)
target_compile_options(nelo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${NELO_WARNINGS_AS_ERRORS}>:-Werror>)
add_library(nelo_compile_options INTERFACE)
target_link_libraries(nelo_compile_options INTERFACE nelo_warnings)
target_compile_definitions(nelo_compile_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
if(NELO_SANITIZERS)
    target_compile_options(nelo_compile_options INTERFACE
        -fsanitize=${NELO_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(nelo_compile_options INTERFACE -fsanitize=${NELO_SANITIZERS})
endif()
if(NELO_COVERAGE)
    # Atomic counts are right also for several threads, and for processes that end at the same time.
    target_compile_options(nelo_compile_options INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
    target_link_options(nelo_compile_options INTERFACE --coverage)
endif()

# nelo_add_library(NAME SOURCES ... [PUBLIC ...] [PRIVATE ...]): the library of one folder of Sources/NeloMenuBar.
#
# A header is included by its path below that folder, as in "backend/BackendReply.h". Each library has an include folder of its
# own, in which only its own folder is linked: a header of a library that the link line does not name is not found.
function(nelo_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
    add_library(${name} STATIC ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    set(includes ${PROJECT_BINARY_DIR}/include/${name})
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/Sources/NeloMenuBar
        OUTPUT_VARIABLE folder)
    cmake_path(GET folder PARENT_PATH parent)
    file(MAKE_DIRECTORY ${includes}/${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${includes}/${folder} SYMBOLIC)
    target_include_directories(${name} PUBLIC ${includes})
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} nelo_compile_options)
endfunction()

# The options of the sanitizers when a test runs. They ignore findings in libraries that are not ours, and allow threads after
# QProcess has forked, where the thread sanitizer would end the program. Findings go to files in a folder, because not every
# test checks the exit code of a program that it has started.
if(NELO_SANITIZERS)
    set(findings :log_path=${CMAKE_BINARY_DIR}/findings/finding)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/findings)
endif()
set(suppressions ${PROJECT_SOURCE_DIR}/Tests/support)
set(tsan_suppressions suppressions=${suppressions}/tsan-suppressions.txt:ignore_noninstrumented_modules=1)
set(nelo_sanitizer_environment
    ASAN_OPTIONS=detect_stack_use_after_return=1${findings}
    LSAN_OPTIONS=suppressions=${suppressions}/lsan-suppressions.txt:print_suppressions=0
    TSAN_OPTIONS=${tsan_suppressions}:die_after_fork=0${findings}
    UBSAN_OPTIONS=print_stacktrace=1)

# nelo_add_test_library(NAME SOURCES ... [PUBLIC ...] [PRIVATE ...]): a library that several tests share. Its headers are
# included by their path below Tests.
function(nelo_add_test_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
    add_library(${name} STATIC ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Tests)
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} nelo_compile_options)
endfunction()

# The tests that build on every system. They have this label, too. The other tests link libraries that use system calls of
# Linux.
add_custom_target(portable_tests)

# The tests of code without windows: files, processes, threads, the network. They have this label, too.
add_custom_target(windowless_tests)

# nelo_add_test(NAME SOURCES ... LIBRARIES ... [LAUNCHER ...]): a Qt Test program. It runs on the offscreen platform, whatever
# DISPLAY is. The command LAUNCHER, if there is one, starts it.
function(nelo_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;LAUNCHER")
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} nelo_test_case nelo_compile_options)
    # Tests are not optimised, which halves the time to compile them. The libraries that they test are optimised.
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O0>)
    add_test(NAME ${name} COMMAND ${arg_LAUNCHER} $<TARGET_FILE:${name}>)
    # The platform's own screen is smaller than our windows. On this one its font of 9 points has 13 pixels.
    set(screen ${PROJECT_SOURCE_DIR}/Tests/support/screen.json)
    set(environment QT_QPA_PLATFORM=offscreen:configfile=${screen} LC_ALL=C.UTF-8 ${nelo_sanitizer_environment})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 300)
    if(NOT arg_LIBRARIES MATCHES "nelo_(every_fault|random_kills|test_support)")
        add_dependencies(portable_tests ${name})
        set_property(TEST ${name} APPEND PROPERTY LABELS portable_tests)
    endif()
    if(NOT arg_LIBRARIES MATCHES "nelo_(agents|chat|gallery|models|platform|primitives|settings|shell|skills|transcript|ui)(;|$)")
        add_dependencies(windowless_tests ${name})
        set_property(TEST ${name} APPEND PROPERTY LABELS windowless_tests)
    endif()
endfunction()

# nelo_add_python_test(NAME MODULE [LAUNCHER ...] [FOLDERS ...] [ENVIRONMENT ...]): the module of this folder, which unittest runs.
# It imports its neighbours, and modules of FOLDERS. The command LAUNCHER, if there is one, starts it.
function(nelo_add_python_test name module)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "LAUNCHER;FOLDERS;ENVIRONMENT")
    add_test(NAME ${name} COMMAND ${arg_LAUNCHER} /usr/bin/python3 -m unittest ${module})
    list(JOIN arg_FOLDERS ":" folders)
    set(environment PYTHONPATH=${CMAKE_CURRENT_SOURCE_DIR}:${folders} PYTHONDONTWRITEBYTECODE=1 ${arg_ENVIRONMENT})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 300)
endfunction()
