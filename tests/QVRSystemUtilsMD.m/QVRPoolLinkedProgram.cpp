// A program that is linked with a library whose static objects use the pool.
#include "QVRPoolModule.h"

int main() { return staticObjectIsServed() ? 0 : 1; }
