// Memory that a process shares with its children.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <new>

/// An object in memory that forked children share with their parent.
template <class T>
class SharedMemory {
 public:
  SharedMemory() {
    void* const memory =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    object_ = new (memory) T();
  }
  ~SharedMemory() { munmap(object_, sizeof(T)); }

  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  T& operator*() const { return *object_; }
  T* operator->() const { return object_; }

 private:
  T* object_;
};
