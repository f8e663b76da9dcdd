# Two programs for the tests of one module: NAMETests links the library's sources
# with the platform's double beneath them; NAMESharedTests links the shared
# libraries, with the tests that replace nothing.
#
#   qvr_add_tests(NAME SOURCES <both programs> SEAM_SOURCES <NAMETests only>
#                 LIBRARIES <what else they link>)
#
# Test code is not optimised: it is most of what there is to compile, and little of
# what runs. A user's setting that switches the pool off is not theirs.
function(qvr_add_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;SEAM_SOURCES;LIBRARIES")

  set(leak_suppressions ${PROJECT_SOURCE_DIR}/tests/support/LeakSuppressions.cpp)
  add_executable(${name}Tests ${arg_SEAM_SOURCES} ${leak_suppressions} $<TARGET_OBJECTS:QVRSystemObjects>
    $<TARGET_OBJECTS:QVRSystemRealPlatform> $<TARGET_OBJECTS:QVRPlatformDouble>)
  target_include_directories(${name}Tests PRIVATE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/QVRSystem/include)
  target_compile_options(${name}Tests PRIVATE -O0)
  qvr_precompile_headers(${name}Tests)
  target_link_libraries(${name}Tests PRIVATE QVRTestSupport QVRBuild ZELKernel Threads::Threads
    QVRWarnings ${arg_LIBRARIES} GTest::gtest_main)
  qvr_discover_tests(${name}Tests "")

  if(arg_SOURCES)
    # Compiled once for both programs, and so with public headers only.
    add_library(${name}TestSources OBJECT ${arg_SOURCES})
    target_compile_options(${name}TestSources PRIVATE -O0)
    qvr_precompile_headers(${name}TestSources)
    target_include_directories(${name}TestSources PRIVATE ${PROJECT_SOURCE_DIR}/QVRSystem/include)
    target_link_libraries(${name}TestSources PUBLIC QVRTestSupport Threads::Threads QVRWarnings
      ${arg_LIBRARIES} GTest::gtest_main)
    target_link_libraries(${name}Tests PRIVATE ${name}TestSources)

    add_executable(${name}SharedTests ${leak_suppressions})
    target_link_libraries(${name}SharedTests PRIVATE ${name}TestSources QVRSystem)
    qvr_discover_tests(${name}SharedTests "Shared.")
  endif()
endfunction()

# Once a program: it holds for the options of one. Not in every build, or nobody would
# miss an include.
function(qvr_precompile_headers target)
  if(QVR_PRECOMPILE_TESTS)
    target_precompile_headers(${target} PRIVATE <gtest/gtest.h> <algorithm> <array> <atomic>
      <chrono> <functional> <latch> <memory> <sstream> <string> <thread> <vector>)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
      target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
    endif()
  endif()
endfunction()

function(qvr_discover_tests target prefix)
  gtest_discover_tests(${target} TEST_PREFIX "${prefix}" DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 600 ENVIRONMENT "${QVR_TEST_ENVIRONMENT}"
      ENVIRONMENT_MODIFICATION "QVRPoolAllocator=unset:")
endfunction()
