#include "QVRDynamicFunction0.h"

void QVRDynamicFunction0::operator()() const {}
