#include "QVRSysIRunnableBody.h"

QVRSysIRunnableBody::~QVRSysIRunnableBody() noexcept(false) = default;
