// Marks what the QVRSystem library exports.
#pragma once

/// In front of a class, function or object: visible to the modules that link the library.
#define QVRSYSTEM_API __attribute__((visibility("default")))
