// A wait ended before what it was for had come.
#pragma once

#include "QVRERuntimeError.h"

/// A wait ended before what it was for had come.
class QVRSYSTEM_API QVRETimeout : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRETimeout);
};
