// The part of a module that is not there when the module is loaded.
[[gnu::visibility("default")]] int absent();

int absent() { return 0; }
