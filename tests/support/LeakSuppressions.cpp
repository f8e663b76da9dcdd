// What the leak detector passes over in every test program.

extern "C" {
__attribute__((visibility("default"))) const char* __lsan_default_suppressions();
__attribute__((visibility("default"))) const char* __lsan_default_options();
}

// In the C library newlocale() forgets the search path that it makes where
// LOCPATH is set, as it is for tests.
const char* __lsan_default_suppressions() { return "leak:argz_add_sep\n"; }

const char* __lsan_default_options() { return "print_suppressions=0"; }
