# Helpers shared by every CMakeLists.txt of the project.

# Warnings for project code; errors unless TARN_WERROR is off.
function(tarn_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Wno-unused-parameter)
  if(TARN_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# A platform stand-in library: shared, default visibility, headers under platform/.
# Programs and components link against it, so it carries a versioned SONAME: the file is
# named with the project's version (libtarn_base.so.0.1.0), what links against it records
# the major version, which changes with the ABI (libtarn_base.so.0), and libtarn_base.so is
# the name the linker looks for.
function(tarn_platform_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${target} SHARED ${ARG_SOURCES})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>
    $<INSTALL_INTERFACE:include/tarn>)
  target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  tarn_warnings(${target})
  install(TARGETS ${target} EXPORT TarnPlatformTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# A GoogleTest executable registered with CTest as one test. CTest runs it through
# CMAKE_CROSSCOMPILING_EMULATOR when cross-compiling because the command names a target.
function(tarn_unittest target)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT TARN_BUILD_TESTS)
    return()
  endif()
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE ${ARG_LIBS} gmock gtest_main)
  tarn_warnings(${target})
  add_test(NAME ${target} COMMAND ${target})
  set(labels unit ${ARG_LABELS})
  set_tests_properties(${target} PROPERTIES LABELS "${labels}")
  tarn_test_runtime(${target} 300)
  # One build target per label, so that a run of one label builds only what it needs.
  foreach(label IN LISTS ARG_LABELS)
    if(NOT TARGET ${label}_tests_all)
      add_custom_target(${label}_tests_all)
    endif()
    add_dependencies(${label}_tests_all ${target})
  endforeach()
endfunction()

# Under an emulator (a cross build) programs run several times slower than natively.
if(CMAKE_CROSSCOMPILING_EMULATOR)
  set(TARN_TEST_TIMEOUT_FACTOR 5 CACHE STRING "How many times longer tests may run than natively")
else()
  set(TARN_TEST_TIMEOUT_FACTOR 1 CACHE STRING "How many times longer tests may run than natively")
endif()

# Settings every test needs however it is registered: a timeout of |seconds| of native time,
# stretched by TARN_TEST_TIMEOUT_FACTOR, and the environment variable TARN_TEST_EMULATOR. In a
# cross build CTest runs the test's own command under the emulator, but a program the test
# starts itself is run by the kernel, which cannot run a target binary: the test puts
# TARN_TEST_EMULATOR (space-separated words, empty in a native build) before its command.
function(tarn_test_runtime test seconds)
  math(EXPR timeout "${seconds} * ${TARN_TEST_TIMEOUT_FACTOR}")
  string(JOIN " " emulator ${CMAKE_CROSSCOMPILING_EMULATOR})
  set_property(TEST ${test} PROPERTY TIMEOUT ${timeout})
  set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "TARN_TEST_EMULATOR=${emulator}")
endfunction()

# A program that drives a component library through the component's virtual operations.
# The component's class information lives hidden inside its library, so the
# UndefinedBehaviorSanitizer's dynamic type check, which needs it, is left out here.
function(tarn_component_host target)
  target_compile_options(${target} PRIVATE -fno-sanitize=vptr)
endfunction()
