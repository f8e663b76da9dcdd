/* Preloaded into the catalogue: every directory fails where it should end. */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <sys/syscall.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

EXPORTED ssize_t getdents64(int descriptor, void* buffer, size_t size) {
  const long count = syscall(SYS_getdents64, descriptor, buffer, size);
  if (count > 0) return count;
  errno = EIO;
  return -1;
}

EXPORTED struct dirent* readdir(DIR* directory) {
  struct dirent* (*next)(DIR*);
  *(void**)&next = dlsym(RTLD_NEXT, "readdir");
  struct dirent* const entry = next(directory);
  if (entry == NULL) errno = EIO;
  return entry;
}
