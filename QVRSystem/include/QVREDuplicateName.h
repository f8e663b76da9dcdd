// A name is given a second time where names are unique.
#pragma once

#include "QVRERuntimeError.h"

/// A name is given a second time where names are unique.
class QVRSYSTEM_API QVREDuplicateName : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREDuplicateName);
};
