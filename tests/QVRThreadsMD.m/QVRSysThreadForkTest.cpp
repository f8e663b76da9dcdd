// Forks of processes that have threads of the library.
#include <gtest/gtest.h>
