// The conversions once more, as processors without vector instructions of ours
// compile them.
#define QVR_UTF8 utf8_portable
#define QVR_UTF8_PORTABLE
#include "QVRSystem/QVRMessageMD.m/src/QVRUtf8.cpp"
