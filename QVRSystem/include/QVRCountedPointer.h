// A pointer that shares the object it points to.
#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "QVRCountedBase.h"

class QVRSysThreadBody;

/// Whether letting go of a `T` may throw to whoever does it. A class derived from
/// the thread body specialises it where it is first declared.
template <class T>
inline constexpr bool QVRReleaseThrows = false;
template <>
inline constexpr bool QVRReleaseThrows<QVRSysThreadBody> = true;

/// A pointer that holds one reference to an object, whose class derives from
/// QVRCountedObject, not necessarily first. One pointer wide.
///
/// Copying counts; moving does not, and leaves the source empty. Of a `T` for which
/// QVRReleaseThrows is true, destructor, detach() and the assignments throw what the
/// object's destructor throws; the pointer is empty afterwards. Who has such a pointer
/// as a member writes `~Holder() noexcept` and answers for it; a lambda that is given
/// to a thread takes it through a holder that is shared. Every other `T` ends the
/// process there.
///
/// Comparisons go by the address of the object.
///
/// @par Thread safety
/// As a pointer: those of several threads may point to one object, but one that is
/// written is used by one thread.
template <class T>
class QVRCountedPointer : public QVRCountedBase {
 public:
  using element_type = T;

  QVRCountedPointer() noexcept : QVRCountedBase(nullptr) {}
  QVRCountedPointer(std::nullptr_t) noexcept : QVRCountedPointer() {}
  QVRCountedPointer(T* object) noexcept : QVRCountedBase(object) {}
  QVRCountedPointer(const QVRCountedPointer& other) noexcept : QVRCountedBase(other) {}
  QVRCountedPointer(QVRCountedPointer&& other) noexcept : QVRCountedBase(std::move(other)) {}

  /// From a pointer to a class derived from `T`.
  template <class U>
  requires std::derived_from<U, T> QVRCountedPointer(const QVRCountedPointer<U>& other)
  noexcept : QVRCountedPointer(other.get()) {}
  template <class U>
  requires std::derived_from<U, T> QVRCountedPointer(QVRCountedPointer<U>&& other)
  noexcept : QVRCountedBase(std::move(other)) {}

  ~QVRCountedPointer() noexcept(!kThrows) { detach(); }

  QVRCountedPointer& operator=(const QVRCountedPointer& other) noexcept(!kThrows) {
    return *this = other.get();
  }

  /// Where it throws, the other pointer keeps what it holds.
  QVRCountedPointer& operator=(QVRCountedPointer&& other) noexcept(!kThrows) {
    if constexpr (kThrows) {
      if (this != &other) moveOrThrow(other);
    } else {
      QVRCountedBase::operator=(std::move(other));
    }
    return *this;
  }

  QVRCountedPointer& operator=(T* object) noexcept(!kThrows) {
    if (!QVRCountedBase::operator==(object)) {
      detach();
      QVRCountedBase::operator=(object);
    }
    return *this;
  }

  /// Lets go of the object, if there is one; empty afterwards, whatever is thrown.
  void detach() noexcept(!kThrows) {
    if (QVRCountedObject* const object = take(); object != nullptr) object->removeReference();
  }

  T* get() const noexcept {
    if constexpr (requires(QVRCountedObject * object) { static_cast<T*>(object); }) {
      return static_cast<T*>(getReferent());
    } else {
      return dynamic_cast<T*>(getReferent());  // the counted part is a virtual base
    }
  }
  T* operator->() const noexcept { return get(); }
  T& operator*() const noexcept { return *get(); }

 private:
  static constexpr bool kThrows = QVRReleaseThrows<std::remove_cv_t<T>>;

  void moveOrThrow(QVRCountedPointer& other) {
    QVRCountedPointer taken(std::move(other));
    try {
      detach();
    } catch (...) {
      other.QVRCountedBase::operator=(std::move(taken));
      throw;
    }
    QVRCountedBase::operator=(std::move(taken));
  }
};

// Templates beside the class, so that an overload for one T takes precedence.

template <class T, class U>
bool operator==(const QVRCountedPointer<T>& a, const QVRCountedPointer<U>& b) noexcept {
  return static_cast<const QVRCountedBase&>(a) == static_cast<const QVRCountedBase&>(b);
}
template <class T, class U>
bool operator!=(const QVRCountedPointer<T>& a, const QVRCountedPointer<U>& b) noexcept {
  return !(a == b);
}
template <class T, std::derived_from<QVRCountedObject> U>
bool operator==(const QVRCountedPointer<T>& pointer, U* object) noexcept {
  return static_cast<const QVRCountedBase&>(pointer) == object;
}
template <class T, std::derived_from<QVRCountedObject> U>
bool operator!=(const QVRCountedPointer<T>& pointer, U* object) noexcept {
  return !(pointer == object);
}
template <class T, std::derived_from<QVRCountedObject> U>
bool operator!=(U* object, const QVRCountedPointer<T>& pointer) noexcept {
  return !(pointer == object);
}
template <class T>
bool operator==(const QVRCountedPointer<T>& pointer, std::nullptr_t) noexcept {
  return !pointer;
}
template <class T>
bool operator!=(const QVRCountedPointer<T>& pointer, std::nullptr_t) noexcept {
  return pointer;
}
template <class T>
bool operator<(const QVRCountedPointer<T>& a, const QVRCountedPointer<T>& b) noexcept {
  return static_cast<const QVRCountedBase&>(a) < static_cast<const QVRCountedBase&>(b);
}
