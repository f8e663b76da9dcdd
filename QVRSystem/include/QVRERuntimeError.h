// What goes wrong while a program runs.
#pragma once

#include "QVRException.h"

/// An error that only shows at run time.
class QVRSYSTEM_API QVRERuntimeError : public QVRException {
  QVR_ERROR_OPERATIONS(QVRERuntimeError);
};
