// A search that had to succeed found nothing.
#pragma once

#include "QVRERuntimeError.h"

/// A search that had to succeed found nothing.
class QVRSYSTEM_API QVRENotFound : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENotFound);
};
