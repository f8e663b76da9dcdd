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

namespace qvr::internal {

/// What a pointer to `T` may point to.
template <class U, class T>
concept PointeeOf = std::convertible_to<U*, T*>;

}  // namespace qvr::internal

/// A pointer that holds one reference to an object, whose class derives from
/// QVRCountedObject, not necessarily first. One pointer wide.
///
/// Copying counts; moving does not, and leaves the source empty. Assigning the object
/// that is held already changes nothing and counts nothing. Copy assignment lets go of
/// the old object before it counts the new one: what is assigned must not live only
/// through the old one. Moving has no such condition: `head = std::move(head->next)`.
///
/// Comparisons go by the address of the object. Pointers of one class have `<`, and no
/// other order; no number compares with one.
///
/// Of a `T` for which QVRReleaseThrows is true, destructor, detach() and the assignments
/// throw what the object's destructor throws; the pointer is empty afterwards, and so is
/// the source of a move. Whoever has such a pointer as a member states that its own
/// destructor does not throw, and sees to it beforehand that nothing does; a lambda that
/// is given to a thread takes the pointer through a holder that is shared:
///
/// @code
/// struct Holder {
///   QVRCountedPointer<QVRSysThreadBody> thread;
///   ~Holder() noexcept {}  // whoever suspended the thread has resumed it by now
/// };
/// std::thread([holder = std::make_shared<Holder>()] { holder->thread->resume(); });
/// @endcode
///
/// Of every other `T` a destructor that throws ends the process. Nothing else throws.
///
/// @par Thread safety
/// As a pointer: those of several threads may point to one object, but one that is
/// written is used by one thread.
/// @par Cost
/// One atomic addition to copy and one to let go. Access is that of a plain pointer, but
/// a `dynamic_cast` where `T` has its counted part as a virtual base.
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
  template <qvr::internal::PointeeOf<T> U>
  QVRCountedPointer(const QVRCountedPointer<U>& other) noexcept : QVRCountedBase(other) {}
  template <qvr::internal::PointeeOf<T> U>
  QVRCountedPointer(QVRCountedPointer<U>&& other) noexcept : QVRCountedBase(std::move(other)) {}

  ~QVRCountedPointer() noexcept(!kThrows) {
    if constexpr (kThrows) detach();
  }

  QVRCountedPointer& operator=(const QVRCountedPointer& other) noexcept(!kThrows) {
    return share(other.getReferent());
  }
  QVRCountedPointer& operator=(QVRCountedPointer&& other) noexcept(!kThrows) {
    return takeOver(std::move(other));
  }
  template <qvr::internal::PointeeOf<T> U>
  QVRCountedPointer& operator=(const QVRCountedPointer<U>& other) noexcept(!kThrows) {
    return share(other.get());
  }
  template <qvr::internal::PointeeOf<T> U>
  QVRCountedPointer& operator=(QVRCountedPointer<U>&& other) noexcept(!kThrows) {
    return takeOver(std::move(other));
  }
  QVRCountedPointer& operator=(T* object) noexcept(!kThrows) { return share(object); }

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

  QVRCountedPointer& share(const QVRCountedObject* object) noexcept(!kThrows) {
    if constexpr (kThrows) {
      if (getReferent() == object) return *this;
      detach();  // what may throw is done when the base begins
    }
    QVRCountedBase::operator=(object);
    return *this;
  }

  QVRCountedPointer& takeOver(QVRCountedBase&& other) noexcept(!kThrows) {
    if constexpr (kThrows) {
      QVRCountedPointer taken;
      taken.QVRCountedBase::operator=(std::move(other));
      detachBefore(taken);
      QVRCountedBase::operator=(std::move(taken));
    } else {
      QVRCountedBase::operator=(std::move(other));
    }
    return *this;
  }

  // The source may have been part of the object that went, and cannot have its
  // reference back; nor may that be dropped while the exception unwinds.
  void detachBefore(QVRCountedPointer& taken) {
    try {
      detach();
    } catch (...) {
      taken.detach();
      throw;
    }
  }
};

// Templates beside the class, so that an overload for one T takes precedence. The
// language makes != and the forms with the pointer on the right of them.

template <class T, class U>
bool operator==(const QVRCountedPointer<T>& a, const QVRCountedPointer<U>& b) noexcept {
  return static_cast<const QVRCountedBase&>(a) == static_cast<const QVRCountedBase&>(b);
}
template <class T, qvr::internal::PointeeOf<const QVRCountedObject> U>
bool operator==(const QVRCountedPointer<T>& pointer, U* object) noexcept {
  return static_cast<const QVRCountedBase&>(pointer) == object;
}
template <class T>
bool operator==(const QVRCountedPointer<T>& pointer, std::nullptr_t) noexcept {
  return !pointer;
}
template <class T>
bool operator<(const QVRCountedPointer<T>& a, const QVRCountedPointer<T>& b) noexcept {
  return static_cast<const QVRCountedBase&>(a) < static_cast<const QVRCountedBase&>(b);
}

// What would compile through the conversion to bool, or the base's `<`.

template <class T, class U>
void operator<=>(const QVRCountedPointer<T>& a, const QVRCountedPointer<U>& b) = delete;
template <class T, class Number>
requires std::is_arithmetic_v<Number>
void operator<=>(const QVRCountedPointer<T>& pointer, Number number) = delete;
template <class T, class Number>
requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>) bool operator==(
    const QVRCountedPointer<T>& pointer, Number number) = delete;
