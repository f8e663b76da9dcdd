/* A library, but no plug-in. */
int catalogueChecksumOfAnotherKind = 1;
