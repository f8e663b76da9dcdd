#include "QVRDynamicFunction0.h"

QVRDynamicFunction0::~QVRDynamicFunction0() = default;

void QVRDynamicFunction0::operator()() const {}
