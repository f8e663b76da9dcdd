// A shared library with nothing in it: what the loader takes for any.
