// What a class says of itself at run time.
#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <typeinfo>

#include "QVRSystemExport.h"

class QVRDynamicObject;

/// The record of a dynamic class: its name, the size of its objects, how to make one
/// and its direct bases. Every dynamic class has one, a static object that its module makes
/// before all others and destroys after them (QVRDynamicObject.h); a record can be copied,
/// and the copy describes the same class.
///
/// Records are told apart by the types that they describe, as the run-time library
/// tells them apart: also between modules, where classes of one full name are one
/// class. A module therefore gives its classes a name or a namespace of its own; an
/// unnamed namespace is not enough with every compiler.
///
/// Nothing here throws but for want of memory, and then nothing has changed; only
/// createObject() also throws what the constructor throws.
///
/// @par Thread safety
/// Records do not change unless assigned to; any thread may read them.
class QVRSYSTEM_API QVRClassInfo {
 public:
  /// @param pointerType the type of a pointer to the class.
  /// @param objectSize bytes per object.
  /// @param factory makes a default object; null where that cannot be.
  /// @param base1 the record of a direct base, or null; it must outlive this one,
  ///   and need not be constructed yet.
  /// @param base2 as `base1`; the first base where `base1` is null.
  QVRClassInfo(const std::type_info& pointerType, std::size_t objectSize,
               QVRDynamicObject* (*factory)(), const QVRClassInfo* base1,
               const QVRClassInfo* base2);

  // Copies only: moving would leave a record without a name.
  QVRClassInfo(const QVRClassInfo&) = default;
  QVRClassInfo& operator=(const QVRClassInfo&) = default;
  ~QVRClassInfo() = default;

  /// The plain name: of a nested class with its `::`, without blanks.
  std::string getClassName() const { return name_; }

  std::size_t getObjectSize() const noexcept { return objectSize_; }

  /// Whether createObject() may be called.
  bool isConstructable() const noexcept { return factory_ != nullptr; }

  /// Always true.
  bool isIdentifiable() const noexcept { return true; }

  /// @return a new object, the caller's; one that is counted has count 0. Undefined
  ///   unless isConstructable(). @throws std::bad_alloc, and what the class's
  ///   constructor throws; the storage is given back.
  QVRDynamicObject* createObject() const { return factory_(); }

  /// Of direct bases: 0, 1 or 2.
  std::size_t getBaseCount() const noexcept {
    return static_cast<std::size_t>(bases_[0] != nullptr) + (bases_[1] != nullptr);
  }

  /// @param index from 0, below getBaseCount(): not tested.
  const QVRClassInfo& getBaseInfo(std::size_t index) const noexcept { return *bases_[index]; }

  /// Whether both describe one class.
  bool isInstanceOf(const QVRClassInfo& other) const noexcept {
    return hash_ == other.hash_ && *type_ == *other.type_;
  }

  /// Whether the class is the other's or derives from it, however far.
  bool isDerivedFrom(const QVRClassInfo& other) const noexcept;

  bool operator==(const QVRClassInfo& other) const noexcept { return isInstanceOf(other); }
  bool operator!=(const QVRClassInfo& other) const noexcept { return !isInstanceOf(other); }

  /// In the order of the types, so that records can key ordered containers.
  bool operator<(const QVRClassInfo& other) const noexcept { return type_->before(*other.type_); }

 private:
  friend struct QVRClassInfoTestAccess;

  static std::string FilterClassName(const char* rawName);

  std::string name_;            // first, since its assignment is the one that may fail
  const std::type_info* type_;  // of the pointer to the class
  std::size_t hash_;            // of the type: tells most of them apart without their names
  std::size_t objectSize_;
  QVRDynamicObject* (*factory_)();
  std::array<const QVRClassInfo*, 2> bases_;  // null behind the last
};

/// Describes the class in lines: name, size, whether it can be made, bases. Numbers are
/// decimal, whatever the stream's format.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRClassInfo& info);
