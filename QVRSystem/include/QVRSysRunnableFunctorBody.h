// A functor as something to run.
#pragma once

#include <utility>

#include "QVRFunctor0.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSystemExport.h"

/// Makes a functor something that threads and thread pools run:
///
/// @code
/// QVRCountedPointer<QVRSysIRunnableBody> work(
///     new QVRSysRunnableFunctorBody(QVRMakeFunctor0(&stock, &Stock::report)));
/// @endcode
///
/// @par Thread safety
/// Several threads may run one object at once where the functor's callee allows it.
class QVRSYSTEM_API QVRSysRunnableFunctorBody : public QVRSysIRunnableBody {
 public:
  /// Of an empty functor: running it does nothing.
  QVRSysRunnableFunctorBody() noexcept = default;

  explicit QVRSysRunnableFunctorBody(QVRFunctor0 functor) noexcept : functor_(std::move(functor)) {}

  /// Does nothing.
  void initialize() override;

  /// Calls the functor. Exceptions are dropped, whatever throws them; only the platform's
  /// own unwinding of a thread that is being ended goes on.
  /// @return null.
  void* run() override;

  /// Does nothing.
  void finalize() override;

 private:
  friend struct QVRSysRunnableFunctorBodyTestAccess;
  QVRSYSTEM_API friend bool operator==(const QVRSysRunnableFunctorBody& a,
                                       const QVRSysRunnableFunctorBody& b);
  QVRSYSTEM_API friend bool operator<(const QVRSysRunnableFunctorBody& a,
                                      const QVRSysRunnableFunctorBody& b);

  QVRSysRunnableFunctorBody(const QVRSysRunnableFunctorBody&) = default;
  QVRSysRunnableFunctorBody& operator=(const QVRSysRunnableFunctorBody&) = default;

  /// @throws QVREInternalError " the runnable functor has a null functor " where it is
  ///   empty; what the functor throws otherwise.
  void* _run();

  QVRFunctor0 functor_;
};

/// As the functors compare.
QVRSYSTEM_API bool operator==(const QVRSysRunnableFunctorBody& a,
                              const QVRSysRunnableFunctorBody& b);
QVRSYSTEM_API bool operator<(const QVRSysRunnableFunctorBody& a,
                             const QVRSysRunnableFunctorBody& b);
