// Objects do not stand in the relation that the operation needs.
#pragma once

#include "QVRERuntimeError.h"

/// Objects do not stand in the relation that the operation needs.
class QVRSYSTEM_API QVREInvalidRelation : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInvalidRelation);
};
