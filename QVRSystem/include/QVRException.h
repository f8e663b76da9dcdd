// The root of the exceptions.
#pragma once

#include <exception>
#include <string>

#include "QVRMessage.h"

/// The operations that each class below QVRException declares for itself.
///
/// The constructor keeps the pointer `srcFile`: the text must be static, as the
/// name of a source file is. It throws std::bad_alloc; so does the copy. clone()
/// and raise() are as described at QVRException.
#define QVR_ERROR_OPERATIONS(Class)                                \
 public:                                                           \
  Class(const wchar16* message, const char* srcFile, int srcLine); \
  Class(const Class&) = default;                                   \
  Class(Class&&) noexcept = default;                               \
  ~Class() override;                                               \
  Class& operator=(const Class&) = default;                        \
  [[noreturn]] void raise() const override;                        \
  QVRMsgData* clone() const override

/// Any failure that the library reports, and the place that reports it. A
/// message too: arguments are streamed into it before it is thrown.
///
/// @code
/// QVREOutOfRange error(u"Index %1 of %2", __FILE__, __LINE__);
/// error << index << size;
/// throw error;
/// @endcode
///
/// Callers catch by exact class: below QVRELogicError and QVRERuntimeError no
/// class derives from another.
///
/// @par Thread safety
/// An exception is used by one thread at a time; what() and where() change it.
/// @par Cost
/// The texts are made on the first call and kept; copies take them along.
class QVRSYSTEM_API QVRException : public std::exception, public QVRMessage {
 public:
  /// @param message the format of the text; copied.
  /// @param srcFile the reporting source; static text, since only the pointer is
  ///   kept. Null is shown as an empty name.
  /// @throws std::bad_alloc
  QVRException(const wchar16* message, const char* srcFile, int srcLine);

  /// Copies the message with its arguments, the place and the texts made so far.
  /// @throws std::bad_alloc, whatever the clone() of an argument throws.
  QVRException(const QVRException& other);

  /// Leaves `other` to be assigned to or destroyed.
  QVRException(QVRException&& other) noexcept;

  ~QVRException() override;

  /// As the copy: where it throws, this exception is as it was.
  void operator=(const QVRException& other);

  /// The message in the process's global locale, in the encoding of the process.
  ///
  /// Rendered once: arguments that are added afterwards do not show. The text
  /// lives until the exception is assigned to or destroyed. An empty one, or one
  /// of the fixed texts that stand for a failure, is tried again by the next
  /// call. Cancelling the calling thread waits until this returns.
  /// @return "Cannot construct what string: out of memory", "Cannot construct
  ///   what string: conversion error", or null after any other failure, which is
  ///   reported ("Program error", "Unexpected exception").
  const char* what() const noexcept override;

  /// Throws a copy of the object, typed as its most-derived class.
  /// @throws what the copy throws.
  [[noreturn]] virtual void raise() const;

  /// The place, as "file(line)"; the file as it was given. Lives as what() does
  /// and throws nothing either.
  /// @return "Cannot construct where string: out of memory", or null after any
  ///   other failure, which is reported ("Program error", "Unexpected exception").
  virtual const char* where() const;

  /// @return a copy on the heap, of the same most-derived class, which the
  ///   caller deletes; null where the storage of the object itself cannot be had.
  /// @throws what the copy throws.
  QVRMsgData* clone() const override;

  const char* getSrcFile() const { return srcFile_; }
  int getSrcLine() const { return srcLine_; }

 private:
  const char* srcFile_;
  int srcLine_;
  mutable std::string what_;   // empty until the first what()
  mutable std::string where_;  // empty until the first where()
};
