// Input or output failed in a way that no other class names.
#pragma once

#include "QVRERuntimeError.h"

/// Input or output failed in a way that no other class names.
class QVRSYSTEM_API QVREIOError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREIOError);
};
