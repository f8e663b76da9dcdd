// There is no file of that name.
#pragma once

#include "QVRERuntimeError.h"

/// There is no file of that name.
class QVRSYSTEM_API QVREFileNotFound : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREFileNotFound);
};
