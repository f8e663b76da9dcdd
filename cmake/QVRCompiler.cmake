# What every target of this project is compiled and linked with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The three libraries call their own exported functions, never another module's of
# the same name: the compiler may inline them, and the linker binds the other calls.
add_compile_options(-fno-semantic-interposition)

find_package(Threads REQUIRED)

add_library(QVRWarnings INTERFACE)
target_compile_options(QVRWarnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# Lock annotations are checked where the library itself is compiled, not in tests.
add_library(QVRThreadSafety INTERFACE)
target_compile_options(QVRThreadSafety INTERFACE
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety;-Werror=thread-safety>)

if(QVR_SANITIZE)
  add_compile_options(-fsanitize=${QVR_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QVR_SANITIZE})
  if(QVR_SANITIZE MATCHES "undefined")
    # vptr: the fast mutex is used before its construction.
    add_compile_options(-fno-sanitize=vptr -fno-sanitize-recover=all)
  endif()
endif()

# Shared libraries resolve every symbol when they are linked; clang leaves the
# sanitizers' own to the program.
function(qvr_resolve_all_symbols target)
  if(NOT (QVR_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
endfunction()

# A shared library of this project: `target` from FOLDER/src with FOLDER/include.
# The three are built and installed beside each other, and find each other there.
function(qvr_shared_library target)
  # Who links the library compiles its headers.
  target_compile_features(${target} PUBLIC cxx_std_20)
  set(lists ${PROJECT_SOURCE_DIR}/cmake/exports.map ${PROJECT_SOURCE_DIR}/cmake/exported-data.list)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${target}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib INSTALL_RPATH "$ORIGIN"
    LINK_DEPENDS "${lists}")
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:QVRWarnings>)
  # The system's functions, but for those that a signal handler calls, are looked up when they
  # are first called (no "-z now"): a program that calls few of them starts sooner.
  # Constants stand beside the code, so that a library is two mappings and not four.
  target_link_options(${target} PRIVATE
    LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map
    LINKER:--dynamic-list=${PROJECT_SOURCE_DIR}/cmake/exported-data.list
    LINKER:-z,noseparate-code)
  qvr_resolve_all_symbols(${target})
  add_library(QVRSystem::${target} ALIAS ${target})
endfunction()
