// There is a file of that name already.
#pragma once

#include "QVRERuntimeError.h"

/// There is a file of that name already.
class QVRSYSTEM_API QVREFileExists : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREFileExists);
};
