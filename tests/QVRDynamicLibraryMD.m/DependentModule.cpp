// A module that needs what it does not get.
int absent();

extern "C" [[gnu::visibility("default")]] int callAbsent();

int callAbsent() { return absent(); }
