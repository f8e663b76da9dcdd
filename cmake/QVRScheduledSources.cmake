# Compiles shipped sources against the deterministic scheduler of tests/scheduler.
set(QVR_SCHEDULER_MODEL ${PROJECT_SOURCE_DIR}/tests/scheduler/model)
set(QVR_SCHEDULED_HEADERS ${PROJECT_BINARY_DIR}/scheduled/include)

# The classes whose sources are compiled for the scheduler, by header. Within a test
# program they are the program's own: the library's copies of them, which the rest of
# the library uses, must not be replaced by these when the program is loaded.
set(QVR_SCHEDULED_CLASSES
  QVRAtomicCounter QVRAtomicLock QVRBufferEnd QVRCountedBase QVRCountedObject QVRCountedPointer
  QVRReadersWriterLock QVRRecursiveLock QVRSpinLock QVRSysCondition
  QVRSysCriticalSection QVRSysFastMutexLock QVRSysICondition QVRSysIMutexLock
  QVRSysIReadWriteLock QVRSysIRunnableBody QVRSysITimedMutexLock QVRSysLockGuard QVRSysMonitor
  QVRSysMutexLock QVRSysPCBuffer QVRSysPCQueue QVRSysReadLockGuard QVRSysRunnableFunctorBody
  QVRSysThreadAttribute QVRSysThreadBody QVRSysThreadId QVRSysThreadPool QVRSysTimedMutexLock
  QVRSysUnlockGuard QVRSysWriteLockGuard)

# Removes what an earlier configuration made in a folder and this one did not.
function(qvr_keep_only folder)
  file(GLOB_RECURSE files ${folder}/*)
  list(REMOVE_ITEM files ${ARGN})
  if(files)
    file(REMOVE ${files})
  endif()
endfunction()

# The public headers, copied: a header finds those beside it first, and the one that
# the scheduler has in the place of one of ours must not be among them.
file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/QVRSystem/include/*)
foreach(header IN LISTS headers)
  cmake_path(GET header FILENAME name)
  cmake_path(GET header STEM class)
  set(copy ${QVR_SCHEDULED_HEADERS}/${name})
  if(class IN_LIST QVR_SCHEDULED_CLASSES)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
    file(READ ${header} text)
    string(REPLACE "QVRSYSTEM_API " "" text "${text}")
    file(CONFIGURE OUTPUT ${copy} CONTENT "${text}" @ONLY)
    list(APPEND copies ${copy})
  elseif(NOT EXISTS ${QVR_SCHEDULER_MODEL}/${name})
    configure_file(${header} ${copy} COPYONLY)
    list(APPEND copies ${copy})
  endif()
endforeach()
qvr_keep_only(${QVR_SCHEDULED_HEADERS} ${copies})

add_library(QVRScheduledIncludes INTERFACE)
target_include_directories(QVRScheduledIncludes INTERFACE
  ${QVR_SCHEDULER_MODEL} ${QVR_SCHEDULED_HEADERS} ${PROJECT_SOURCE_DIR})

# A static library of shipped sources, named below QVRSystem/. Programs link it and
# get everything else of the library from QVRSystem.
function(qvr_scheduled_library target)
  list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/QVRSystem/)
  add_library(${target} STATIC ${ARGN})
  target_link_libraries(${target} PUBLIC QVRScheduler PRIVATE QVRWarnings)
  target_link_libraries(${target} INTERFACE $<LINK_ONLY:QVRSystem>)
endfunction()

# A program with scenarios in which one line of a shipped source is another: shows that
# they find the mistake. In `planted_library` stands the library of the sources as they
# are, in `planted_scenarios` the object library of the scenarios.
#
#   qvr_planted_mistake(NAME IN <file below QVRSystem/> LINE <text> BECOMES <text>
#                       FOUND_BY <text in the names of the scenarios>
#                       [COMPILED_IN <sources below QVRSystem/ that include the header>]
#                       [SCENARIOS <sources that include it, in the place of the others>])
function(qvr_planted_mistake name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "IN;LINE;BECOMES;FOUND_BY" "COMPILED_IN;SCENARIOS")
  set(folder ${PROJECT_BINARY_DIR}/scheduled/${name})
  qvr_plant(${folder} "${arg_IN}" "${arg_LINE}" "${arg_BECOMES}")

  # In front of the library, whose own objects are not taken then.
  set(sources ${folder}/QVRSystem/${arg_IN})
  if(arg_COMPILED_IN)
    list(TRANSFORM arg_COMPILED_IN PREPEND ${PROJECT_SOURCE_DIR}/QVRSystem/ OUTPUT_VARIABLE sources)
  endif()
  set(scenarios $<TARGET_OBJECTS:${planted_scenarios}>)
  if(arg_SCENARIOS)
    set(scenarios ${arg_SCENARIOS})
  endif()
  add_executable(${name} ${sources} ${scenarios})
  target_include_directories(${name} BEFORE PRIVATE ${folder} ${folder}/QVRSystem/include)
  if(NOT arg_COMPILED_IN)
    cmake_path(GET arg_IN PARENT_PATH neighbours)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/QVRSystem/${neighbours})
  endif()
  # Soon found, and so not worth optimising. Without the warnings: a mistake may leave
  # something unused.
  target_compile_options(${name} PRIVATE -O0)
  target_link_libraries(${name} PRIVATE ${planted_library} QVRExploreMain)
  add_test(NAME Scheduler.${name} COMMAND ${name} --find --only ${arg_FOUND_BY})
endfunction()

# Writes a source with one line replaced below the folder, a public header among copies
# of all the others, since a header finds those beside it first.
function(qvr_plant folder file line replacement)
  set(original ${PROJECT_SOURCE_DIR}/QVRSystem/${file})
  set(planted ${folder}/QVRSystem/${file})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${original})
  if(file MATCHES "^include/(.*)")
    set(original ${QVR_SCHEDULED_HEADERS}/${CMAKE_MATCH_1})
    file(COPY ${QVR_SCHEDULED_HEADERS} DESTINATION ${folder}/QVRSystem
      PATTERN ${CMAKE_MATCH_1} EXCLUDE)
  else()
    qvr_keep_only(${folder} ${planted})
  endif()

  file(READ ${original} text)
  string(FIND "${text}" "${line}\n" first)
  string(FIND "${text}" "${line}\n" last REVERSE)
  if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "A planted mistake replaces a line that is to be found once in "
      "QVRSystem/${file}, and is not:\n${line}\n"
      "Plant it elsewhere (tests/scheduler/PlantedMistakes.cmake).")
  endif()
  string(REPLACE "${line}\n" "${replacement}\n" text "${text}")
  file(CONFIGURE OUTPUT ${planted} CONTENT "${text}" @ONLY)
endfunction()
