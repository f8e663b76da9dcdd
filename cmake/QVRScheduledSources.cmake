# Compiles shipped sources against the deterministic scheduler of tests/scheduler.
set(QVR_SCHEDULER_MODEL ${PROJECT_SOURCE_DIR}/tests/scheduler/model)
set(QVR_SCHEDULED_HEADERS ${PROJECT_BINARY_DIR}/scheduled/include)

# The classes whose sources are compiled for the scheduler, by header. Within a test
# program they are the program's own: the library's copies of them, which the rest of
# the library uses, must not be replaced by these when the program is loaded.
set(QVR_SCHEDULED_CLASSES
  QVRAtomicCounter QVRAtomicLock QVRReadersWriterLock QVRSpinLock QVRSysCondition
  QVRSysCriticalSection QVRSysFastMutexLock QVRSysICondition QVRSysIMutexLock
  QVRSysIReadWriteLock QVRSysITimedMutexLock QVRSysLockGuard QVRSysMonitor QVRSysMutexLock
  QVRSysReadLockGuard QVRSysThreadId QVRSysTimedMutexLock QVRSysUnlockGuard QVRSysWriteLockGuard)

# The public headers, copied: a header finds those beside it first, and the one that
# the scheduler has in the place of one of ours must not be among them.
file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/QVRSystem/include/*)
foreach(header IN LISTS headers)
  cmake_path(GET header FILENAME name)
  cmake_path(GET header STEM class)
  if(class IN_LIST QVR_SCHEDULED_CLASSES)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
    file(READ ${header} text)
    string(REPLACE "QVRSYSTEM_API " "" text "${text}")
    file(CONFIGURE OUTPUT ${QVR_SCHEDULED_HEADERS}/${name} CONTENT "${text}" @ONLY)
  elseif(NOT EXISTS ${QVR_SCHEDULER_MODEL}/${name})
    configure_file(${header} ${QVR_SCHEDULED_HEADERS}/${name} COPYONLY)
  endif()
endforeach()

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
