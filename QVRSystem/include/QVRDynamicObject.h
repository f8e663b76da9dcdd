// The root of the classes with a record, and how a class gets one.
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "QVRClassInfo.h"
#include "QVRSystemExport.h"

/// The root of every class that has a record: its objects say what they are, make
/// others of their class, and live in the process-wide pool.
///
/// A module declares a class of its own in three lines:
///
/// @code
/// class Valve : public QVRDynamicObject {
///   QVR_DECLARE_DYNAMIC_CLASS(Valve);           // in the header
///  public:
///   Valve() = default;
///   Valve(const Valve& other, CopyMode mode) : QVRDynamicObject(other, mode) {}
/// };
/// QVR_DEFINE_DYNAMIC_CLASS(Valve, QVRDynamicObject);  // in one source
/// @endcode
///
/// A class that can let go of what it owns before it is destroyed does so in an
/// override of orphanObject(), which ends with that of its base. The destructors here
/// call none of the overrides: an object that is not orphaned by then becomes so.
///
/// Only lack of memory is thrown here; destructors of derived classes may throw. One
/// that also overrides a destructor that may not is declared `noexcept`. A factory
/// gives the storage back where the constructor throws, and the exception comes through.
///
/// @par Thread safety
/// As an int: any thread may read, one may change an object that no other uses.
class QVRSYSTEM_API QVRDynamicObject {
 public:
  /// How a copy treats what the original refers to; its meaning is the class's own.
  enum CopyMode : int { ShallowCopy = 0, DeepCopy = 1 };

  /// Takes over whether the other is orphaned.
  QVRDynamicObject(const QVRDynamicObject& other) noexcept = default;

  static const QVRClassInfo& ClassInfo() noexcept;
  static std::string ClassName();

  /// From QVRPoolAllocator::Global(), aligned to 16 bytes: no class that needs more, with
  /// or without a record, may be made here. @throws std::bad_alloc.
  static void* operator new(std::size_t size);

  /// Back to the pool; `size` is that of the class that was made, which the virtual
  /// destructor supplies.
  static void operator delete(void* object, std::size_t size) noexcept;

  /// The name in the record of the object's class.
  virtual std::string getClassName() const;

  /// The record of the object's class.
  virtual const QVRClassInfo& getClassInfo() const;

  /// Whether the object's class is exactly that one.
  virtual bool isInstanceOf(const QVRClassInfo& info) const;

  /// Whether the object's class is that one or derives from it.
  virtual bool isDerivedFrom(const QVRClassInfo& info) const;

 protected:
  /// Not orphaned.
  QVRDynamicObject() noexcept = default;

  /// Not orphaned; takes nothing from the other.
  QVRDynamicObject(const QVRDynamicObject& /*other*/, CopyMode /*mode*/) noexcept {}

  /// Makes this object one that is not orphaned, unless it assigns itself.
  QVRDynamicObject& operator=(const QVRDynamicObject& other) noexcept;

  /// Marks the object as orphaned: its members released, or its destruction begun.
  virtual void orphanObject();

 private:
  // Where derived classes make the objects for the two operations below.
  virtual QVRDynamicObject* _replicateObject() const;
  virtual QVRDynamicObject* _duplicateObject(CopyMode mode) const;

 protected:
  virtual ~QVRDynamicObject() noexcept(false);

  /// The object as its root; of several roots, the one of its first base's first base
  /// and so on. Every class has its own, since each step alone is unambiguous.
  static QVRDynamicObject* _RootOf(QVRDynamicObject* object) noexcept { return object; }

  /// @return a new default object of the same class, the caller's; null of a class
  ///   that is abstract.
  virtual QVRDynamicObject* replicateObject() const;

  /// @return a copy of this object, the caller's; null of a class that is abstract.
  virtual QVRDynamicObject* duplicateObject(CopyMode mode) const;

 private:
  friend struct QVRDynamicObjectTestAccess;

  static QVRDynamicObject* _CreateObject();
  void orphanMembers() noexcept { orphaned_ = true; }

  static const QVRClassInfo ClassInfo_;

  bool orphaned_ = false;
  // Keeps members of derived classes out of the padding: the sizes in the records are
  // 16 bytes here and 24 with a reference count.
  [[maybe_unused]] char reserved_[7] = {};
};

static_assert(sizeof(QVRDynamicObject) == 16);

namespace qvr::internal {

/// The first of the bases that a class names; the root where it names none.
template <class First = QVRDynamicObject, class... Others>
using FirstBase = First;

/// The record of a class with these direct bases.
template <class Class, class... Bases>
QVRClassInfo makeClassInfo(QVRDynamicObject* (*factory)()) {
  static_assert(std::is_base_of_v<QVRDynamicObject, Class>, "a dynamic class has the root as base");
  static_assert(sizeof...(Bases) <= 2, "a record names at most two bases");
  static_assert((std::is_base_of_v<Bases, Class> && ...), "a record names bases of the class only");
  static_assert(!(std::is_same_v<Bases, Class> || ...), "a class is no base of its own");
  static_assert(alignof(Class) <= 16, "the pool aligns to 16 bytes");
  const QVRClassInfo* const bases[] = {&Bases::ClassInfo()..., nullptr, nullptr};
  return {typeid(Class*), sizeof(Class), factory, bases[0], bases[1]};
}

}  // namespace qvr::internal

/// Of a record: static objects of its module, whatever source they are in, find it made,
/// and their destructors find it still.
#define QVR_BEFORE_OTHER_OBJECTS_ [[gnu::init_priority(101)]]

/// First in a class that derives from QVRDynamicObject: declares its record and the
/// operations that answer from it. Members that follow are private.
#define QVR_DECLARE_DYNAMIC_CLASS(Class)                                                  \
 public:                                                                                  \
  static const ::QVRClassInfo& ClassInfo() noexcept;                                      \
  [[maybe_unused]] static ::std::string ClassName();                                      \
  ::std::string getClassName() const override;                                            \
  const ::QVRClassInfo& getClassInfo() const override;                                    \
  bool isInstanceOf(const ::QVRClassInfo& info) const override;                           \
  bool isDerivedFrom(const ::QVRClassInfo& info) const override;                          \
                                                                                          \
 protected:                                                                               \
  [[maybe_unused]] static ::QVRDynamicObject* _RootOf(Class* object) noexcept;            \
                                                                                          \
 private:                                                                                 \
  [[maybe_unused]] static ::QVRDynamicObject* _CreateObject();                            \
  ::QVRDynamicObject* _replicateObject() const override;                                  \
  ::QVRDynamicObject* _duplicateObject(::QVRDynamicObject::CopyMode mode) const override; \
  static const ::QVRClassInfo ClassInfo_

/// In one source, in the namespace of the class: defines what was declared. The
/// bases are those direct ones that are dynamic classes, two at most, virtual ones
/// too; isDerivedFrom() knows no others. Where there are several roots, objects are
/// given as that of the first base named. The class has a default constructor and one
/// from `(const Class&, CopyMode)`, of any access, and is aligned to 16 bytes at most.
#define QVR_DEFINE_DYNAMIC_CLASS(Class, ...)                                             \
  ::QVRDynamicObject* Class::_CreateObject() { return _RootOf(new Class()); }            \
  ::QVRDynamicObject* Class::_replicateObject() const { return _CreateObject(); }        \
  ::QVRDynamicObject* Class::_duplicateObject(::QVRDynamicObject::CopyMode mode) const { \
    return _RootOf(new Class(*this, mode));                                              \
  }                                                                                      \
  QVR_DEFINE_CLASS_RECORD_(Class, &Class::_CreateObject __VA_OPT__(, ) __VA_ARGS__)

/// As QVR_DEFINE_DYNAMIC_CLASS, for a class of which no object is made: its record has
/// no factory, and it needs neither constructor.
#define QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Class, ...)                               \
  ::QVRDynamicObject* Class::_CreateObject() { return nullptr; }                    \
  ::QVRDynamicObject* Class::_replicateObject() const { return nullptr; }           \
  ::QVRDynamicObject* Class::_duplicateObject(::QVRDynamicObject::CopyMode) const { \
    return nullptr;                                                                 \
  }                                                                                 \
  QVR_DEFINE_CLASS_RECORD_(Class, nullptr __VA_OPT__(, ) __VA_ARGS__)

/// What both definitions share.
#define QVR_DEFINE_CLASS_RECORD_(Class, factory, ...)                             \
  ::QVRDynamicObject* Class::_RootOf(Class* object) noexcept {                    \
    return ::qvr::internal::FirstBase<__VA_ARGS__>::_RootOf(object);              \
  }                                                                               \
  const ::QVRClassInfo& Class::ClassInfo() noexcept { return ClassInfo_; }        \
  ::std::string Class::ClassName() { return ClassInfo_.getClassName(); }          \
  ::std::string Class::getClassName() const { return ClassInfo_.getClassName(); } \
  const ::QVRClassInfo& Class::getClassInfo() const { return ClassInfo_; }        \
  bool Class::isInstanceOf(const ::QVRClassInfo& info) const {                    \
    return ClassInfo_.isInstanceOf(info);                                         \
  }                                                                               \
  bool Class::isDerivedFrom(const ::QVRClassInfo& info) const {                   \
    return ClassInfo_.isDerivedFrom(info);                                        \
  }                                                                               \
  QVR_BEFORE_OTHER_OBJECTS_ const ::QVRClassInfo Class::ClassInfo_ =              \
      ::qvr::internal::makeClassInfo<Class __VA_OPT__(, ) __VA_ARGS__>(factory)
