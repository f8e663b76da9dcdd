// A file or directory could not be opened.
#pragma once

#include "QVRERuntimeError.h"

/// A file or directory could not be opened.
class QVRSYSTEM_API QVREOpenFailed : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREOpenFailed);
};
