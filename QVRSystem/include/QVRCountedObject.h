// Objects that their holders share.
#pragma once

#include "QVRAtomicCounter.h"
#include "QVRDynamicObject.h"
#include "QVRSystemExport.h"

class QVRSysThreadBody;

/// The base of objects that live on the heap as long as somebody holds them. Holders
/// keep a QVRCountedPointer, or another handle derived from QVRCountedBase; with the
/// last one the object deletes itself.
///
/// One that was made and never given to a handle has count 0 and is its maker's to
/// delete.
///
/// @par Thread safety
/// Any thread may call the operations on the count; the thread that takes it to 0
/// deletes the object, and sees what the others wrote before they let go.
/// @par Cost
/// One atomic addition for a reference more or less.
class QVRSYSTEM_API QVRCountedObject : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(QVRCountedObject);

 public:
  /// Starts with the other's present count, and takes over whether it is orphaned.
  QVRCountedObject(const QVRCountedObject& other) noexcept = default;

  /// @return the new count.
  unsigned int addReference() noexcept { return static_cast<unsigned int>(count_.increment()); }

  /// Takes one off the count, and deletes the object where that leaves exactly 0.
  /// One less than 0 is 4294967295 and deletes nothing.
  /// @return the new count. Throws what the destructor throws.
  unsigned int removeReference() {
    const unsigned int count = dropReference();
    if (count == 0) delete this;
    return count;
  }

  unsigned int getReferences() const noexcept { return static_cast<unsigned int>(count_.get()); }

  /// Whether the count, as a signed number, is above 0.
  bool isReferenced() const noexcept { return count_.get() > 0; }

  /// Whether the count, as a signed number, is above 1.
  bool isShared() const noexcept { return count_.get() > 1; }

 protected:
  explicit QVRCountedObject(unsigned int initial = 0) noexcept
      : count_(static_cast<long>(initial)) {}

  /// Starts with count 0, not orphaned.
  QVRCountedObject(const QVRCountedObject& other, QVRDynamicObject::CopyMode mode) noexcept
      : QVRDynamicObject(other, mode) {}

  /// Makes this object one that is not orphaned, unless it assigns itself; the count
  /// stays.
  QVRCountedObject& operator=(const QVRCountedObject& other) noexcept;

  void orphanObject() override;

  ~QVRCountedObject() noexcept(false) override;

 private:
  friend class QVRCountedBase;
  friend class QVRSysThreadBody;  // whose thread must not be ended between the two steps

  /// Adds one where somebody holds the object. @return whether it did.
  bool addToReferences() noexcept { return count_.incrementPositive(); }

  unsigned int dropReference() noexcept { return static_cast<unsigned int>(count_.decrement()); }

  QVRAtomicCounter count_;
};

static_assert(sizeof(QVRCountedObject) == 24);
