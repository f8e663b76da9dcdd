// A program that does nothing, linked with one library or another. Asked with an
// argument, it says how many bytes of it are resident.
#include <unistd.h>

#include <fstream>
#include <iostream>

int main(int argc, char** /*argv*/) {
  if (argc == 1) return 0;
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  std::cout << resident * sysconf(_SC_PAGESIZE);
}
