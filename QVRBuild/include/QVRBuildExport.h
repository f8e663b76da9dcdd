// Marks what the QVRBuild library exports.
#pragma once

#define QVRBUILD_API __attribute__((visibility("default")))
