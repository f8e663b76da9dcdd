#include "QVRMsgBase.h"

QVRMsgBase::~QVRMsgBase() = default;
