// What threads and thread pools run.
#pragma once

#include "QVRCountedObject.h"
#include "QVRSystemExport.h"

/// A piece of work that a thread or a thread pool does once it is given it, held as
/// `QVRCountedPointer<QVRSysIRunnableBody>`. QVRSysRunnableFunctorBody makes one of any
/// function; a class of one's own has more room for what the work needs.
///
/// In the records of dynamic classes a runnable is a QVRCountedObject.
class QVRSYSTEM_API QVRSysIRunnableBody : public QVRCountedObject {
 public:
  /// Called on the thread that runs it, before run().
  virtual void initialize() = 0;

  /// The work. @return what the thread that runs it shall give as its result.
  virtual void* run() = 0;

  /// Called on the thread that ran it, after run().
  virtual void finalize() = 0;

  ~QVRSysIRunnableBody() noexcept(false) override;

 protected:
  QVRSysIRunnableBody() noexcept = default;
  QVRSysIRunnableBody(const QVRSysIRunnableBody&) noexcept = default;
  QVRSysIRunnableBody& operator=(const QVRSysIRunnableBody&) noexcept = default;
};
