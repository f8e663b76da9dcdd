// The classes below QVRException, which differ in their names alone.
#include <new>

#include "QVREAccessDenied.h"
#include "QVREAlreadyExists.h"
#include "QVREAlreadyInUse.h"
#include "QVREAlreadyRegistered.h"
#include "QVREBadType.h"
#include "QVRECannotCreate.h"
#include "QVREDeadlock.h"
#include "QVREDisabled.h"
#include "QVREDiskFull.h"
#include "QVREDoesNotExist.h"
#include "QVREDomainError.h"
#include "QVREDuplicateName.h"
#include "QVREFileExists.h"
#include "QVREFileNotFound.h"
#include "QVREIOError.h"
#include "QVREIllegalMatrix.h"
#include "QVREInternalError.h"
#include "QVREInvalidArgument.h"
#include "QVREInvalidCast.h"
#include "QVREInvalidFormat.h"
#include "QVREInvalidLock.h"
#include "QVREInvalidName.h"
#include "QVREInvalidRelation.h"
#include "QVRELengthError.h"
#include "QVRELockFailed.h"
#include "QVRELockViolation.h"
#include "QVRELogicError.h"
#include "QVRENetworkError.h"
#include "QVRENoNetwork.h"
#include "QVRENotFound.h"
#include "QVRENotImplemented.h"
#include "QVRENotLocked.h"
#include "QVRENotOwner.h"
#include "QVRENotSupported.h"
#include "QVRENullPointer.h"
#include "QVRENumericError.h"
#include "QVREOpenFailed.h"
#include "QVREOperationAborted.h"
#include "QVREOutOfRange.h"
#include "QVREOverflowError.h"
#include "QVREPathNotFound.h"
#include "QVRERangeError.h"
#include "QVREReadFault.h"
#include "QVREResourceLimit.h"
#include "QVRERuntimeError.h"
#include "QVRESingularMatrix.h"
#include "QVRETimeout.h"
#include "QVREUnderflowError.h"
#include "QVREWriteFault.h"
#include "QVREWriteProtect.h"
#include "QVREZeroDivide.h"
#include "QVREZeroVector.h"
#include "QVRTraceLog.h"

namespace {

// Whoever makes a concrete exception finds the header of the system log blank
// from then on. ("%m(%p) %F:%l" comes before the blank and shows to nobody.)
void blankSystemTraceHeader() { QVRSystemTrace.SetFormat(" "); }

}  // namespace

#define QVR_DEFINE_OPERATIONS(Class)         \
  Class::~Class() = default;                 \
  void Class::raise() const { throw *this; } \
  QVRMsgData* Class::clone() const { return new (std::nothrow) Class(*this); }

#define QVR_DEFINE_INTERMEDIATE(Class)                                   \
  Class::Class(const wchar16* message, const char* srcFile, int srcLine) \
      : QVRException(message, srcFile, srcLine) {}                       \
  QVR_DEFINE_OPERATIONS(Class)

QVR_DEFINE_INTERMEDIATE(QVRELogicError)
QVR_DEFINE_INTERMEDIATE(QVRERuntimeError)

#define QVR_ERROR(Class, Base)                                           \
  Class::Class(const wchar16* message, const char* srcFile, int srcLine) \
      : Base(message, srcFile, srcLine) {                                \
    blankSystemTraceHeader();                                            \
  }                                                                      \
  QVR_DEFINE_OPERATIONS(Class)
#include "QVRErrorFamily.def"
