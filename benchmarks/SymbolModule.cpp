// A library that exports 256 functions, qvrPlugInFunction00 to qvrPlugInFunctionFF.
#define QVR_FUNCTION(number) \
  [[gnu::visibility("default")]] int qvrPlugInFunction##number() { return 0x##number; }
#define QVR_FOUR(d, a, b, c, e) \
  QVR_FUNCTION(d##a) QVR_FUNCTION(d##b) QVR_FUNCTION(d##c) QVR_FUNCTION(d##e)
#define QVR_SIXTEEN(d) \
  QVR_FOUR(d, 0, 1, 2, 3) QVR_FOUR(d, 4, 5, 6, 7) QVR_FOUR(d, 8, 9, A, B) QVR_FOUR(d, C, D, E, F)

extern "C" {
QVR_SIXTEEN(0)
QVR_SIXTEEN(1)
QVR_SIXTEEN(2)
QVR_SIXTEEN(3)
QVR_SIXTEEN(4)
QVR_SIXTEEN(5)
QVR_SIXTEEN(6)
QVR_SIXTEEN(7)
QVR_SIXTEEN(8)
QVR_SIXTEEN(9)
QVR_SIXTEEN(A)
QVR_SIXTEEN(B)
QVR_SIXTEEN(C)
QVR_SIXTEEN(D)
QVR_SIXTEEN(E)
QVR_SIXTEEN(F)
}
