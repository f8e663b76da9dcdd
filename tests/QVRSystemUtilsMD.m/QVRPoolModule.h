// A library whose static objects use the process-wide pool.
#pragma once

/// Whether the memory that a static object took during loading is what it made of it.
extern "C" __attribute__((visibility("default"))) bool staticObjectIsServed();
