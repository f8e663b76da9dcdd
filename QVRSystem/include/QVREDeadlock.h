// Going on would let threads wait for each other for ever.
#pragma once

#include "QVRERuntimeError.h"

/// Going on would let threads wait for each other for ever.
class QVRSYSTEM_API QVREDeadlock : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREDeadlock);
};
