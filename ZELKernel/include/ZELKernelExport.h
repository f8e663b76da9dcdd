// Marks what the ZELKernel library exports.
#pragma once

#define ZELKERNEL_API __attribute__((visibility("default")))
