// An index or position lies outside what there is.
#pragma once

#include "QVRELogicError.h"

/// An index or position lies outside what there is.
class QVRSYSTEM_API QVREOutOfRange : public QVRELogicError {
  QVR_ERROR_OPERATIONS(QVREOutOfRange);
};
