// What a module relies on across the border of the shared libraries.
#include <QVRSystem.h>

#include <iostream>

int main() {
  QVRSysFastMutexLock lock;
  const QVRSysFastMutexLock::LockGuard guard(lock);
  std::cout << "thread " << QVRSysGetThreadId() << '\n';
}
