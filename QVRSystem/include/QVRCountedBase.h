// The handle that holds one reference.
#pragma once

#include <functional>
#include <utility>

#include "QVRCountedObject.h"
#include "QVRSystemExport.h"

namespace qvr::internal {
class NameTable;
}  // namespace qvr::internal

/// The base of typed handles to a counted object: one pointer wide, it owns one
/// reference to what it refers to. Derived classes choose what they show; the typed
/// handle for callers is QVRCountedPointer.
///
/// Letting go of the last reference deletes the object; a destructor that throws
/// there ends the process. Nothing else throws.
///
/// @par Thread safety
/// As a pointer: handles of several threads may refer to one object, but a handle
/// that is written is used by one thread.
class QVRSYSTEM_API QVRCountedBase {
 public:
  /// Whether it refers to an object.
  operator bool() const noexcept { return referent_ != nullptr; }

  bool operator==(const QVRCountedObject* object) const noexcept { return referent_ == object; }
  bool operator!=(const QVRCountedObject* object) const noexcept { return referent_ != object; }
  bool operator==(const QVRCountedBase& other) const noexcept {
    return referent_ == other.referent_;
  }
  bool operator!=(const QVRCountedBase& other) const noexcept {
    return referent_ != other.referent_;
  }
  /// By address, so that handles can key ordered containers.
  bool operator<(const QVRCountedBase& other) const noexcept {
    return std::less<>()(referent_, other.referent_);
  }
  /// None but `<`: the others, and those of a std::pair of handles, would compare
  /// whether there are objects.
  void operator<=>(const QVRCountedBase& other) const = delete;

 protected:
  /// @param object counted up unless null.
  QVRCountedBase(const QVRCountedObject* object) noexcept
      : referent_(const_cast<QVRCountedObject*>(object)) {
    if (referent_ != nullptr) referent_->addReference();
  }

  QVRCountedBase(const QVRCountedBase& other) noexcept : QVRCountedBase(other.referent_) {}

  /// Takes the other's reference over; the other is empty afterwards.
  QVRCountedBase(QVRCountedBase&& other) noexcept
      : referent_(std::exchange(other.referent_, nullptr)) {}

  ~QVRCountedBase() { QVRCountedBase::detach(); }

  /// Lets go of the old object, then counts the new one, which must not live only
  /// through the old one. Nothing happens where both are the same.
  QVRCountedBase& operator=(const QVRCountedObject* object) noexcept {
    transfer(const_cast<QVRCountedObject*>(object));
    return *this;
  }
  QVRCountedBase& operator=(const QVRCountedBase& other) noexcept {
    if (this != &other) transfer(other.referent_);
    return *this;
  }

  /// Takes the other's reference over and lets go of its own; the other is empty
  /// afterwards. Moved onto itself it keeps what it holds.
  QVRCountedBase& operator=(QVRCountedBase&& other) noexcept {
    // Through a third handle: the other may be part of the object that goes.
    QVRCountedBase taken(std::move(other));
    std::swap(referent_, taken.referent_);
    return *this;
  }

  /// Lets go of the object, if there is one; empty afterwards.
  void detach() noexcept {
    if (QVRCountedObject* const object = take(); object != nullptr) object->removeReference();
  }

  QVRCountedObject* getReferent() const noexcept { return referent_; }

  /// Empties the handle. @return what it held; the reference is the caller's.
  QVRCountedObject* take() noexcept { return std::exchange(referent_, nullptr); }

 private:
  friend class qvr::internal::NameTable;

  /// For an empty handle: shares the object where somebody else does.
  bool share(QVRCountedObject& object) noexcept {
    if (!object.addToReferences()) return false;
    referent_ = &object;
    return true;
  }

  void transfer(QVRCountedObject* object) noexcept {
    if (object == referent_) return;
    QVRCountedBase::detach();
    referent_ = object;
    if (object != nullptr) object->addReference();
  }

  QVRCountedObject* referent_;  // null: empty
};
