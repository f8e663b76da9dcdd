// A directory on the way to a file is not there.
#pragma once

#include "QVRERuntimeError.h"

/// A directory on the way to a file is not there.
class QVRSYSTEM_API QVREPathNotFound : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREPathNotFound);
};
