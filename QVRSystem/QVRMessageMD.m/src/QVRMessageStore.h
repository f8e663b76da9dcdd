// Where a message keeps its format and its arguments.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <vector>

#include "QVRBasicStringMsg.h"
#include "QVRLocaleText.h"
#include "QVRMessage.h"
#include "QVRNumericMsg.h"

namespace qvr::internal {

class MessageStore;

/// What can be done with an argument whose exact class is known.
struct ArgumentKind {
  /// Copies it into the block. @return null where that has no room left.
  QVRMsgData* (*place)(const QVRMsgData& argument, MessageStore& store);
  /// Appends what its scribe() gives where it has no width and the locale is
  /// exactly a QVRLocale.
  void (*write)(const QVRMsgData& argument, const QVRLocale& locale, WideText& to);
};

/// The format and the arguments of a message in one block of memory: a thrower
/// makes a message for every exception, most often with a few arguments.
///
/// An argument that a message operator streams, so that its exact class is known,
/// is copied into the block and needs no destruction. Others, and those that find
/// no room there, are clones on the heap.
class alignas(std::max_align_t) MessageStore {
 public:
  static std::unique_ptr<MessageStore> make(std::u16string_view format);
  ~MessageStore();

  MessageStore(const MessageStore&) = delete;
  MessageStore& operator=(const MessageStore&) = delete;

  // The block is larger than the object.
  static void operator delete(void* block) { ::operator delete(block); }

  /// @throws std::bad_alloc also where a clone() answers null.
  std::unique_ptr<MessageStore> copy() const;

  std::u16string_view format() const { return format_; }
  std::size_t size() const { return size_; }
  const QVRMsgData& operator[](std::size_t index) const {
    return index < kStep ? *first_[index] : *others_[index - kStep];
  }

  /// Adds a copy of `data`. @return the copy; null, and nothing added, where
  /// clone() answers null. Where it throws, nothing has changed.
  QVRMsgData* add(const QVRMsgData& data);

  /// Appends an argument whose class is exactly `Argument`, so that the message
  /// may copy it into its block.
  template <class Argument>
  static void append(QVRMessage& message, Argument&& argument) {
    argument.kind_ = &kKind<Argument>;
    message.append(argument);
  }

  /// Appends what the scribe() of an argument gives.
  static void write(const QVRMsgData& argument, const QVRLocale& locale, bool isPlainLocale,
                    WideText& to) {
    const bool isDirect = isPlainLocale && argument.kind_ != nullptr && argument.getWidth() == 0;
    isDirect ? argument.kind_->write(argument, locale, to) : writeValue(argument, locale, to);
  }

  /// An argument for append() that leaves the zero-terminated text where it is.
  template <class C>
  static QVRBasicStringMsg<C> borrow(std::basic_string_view<C> text) {
    return QVRBasicStringMsg<C>(typename QVRBasicStringMsg<C>::Borrowed(), text);
  }

 private:
  // The list of arguments grows by this many.
  static constexpr std::size_t kStep = 32;

  explicit MessageStore(std::byte* blockEnd)
      : free_(reinterpret_cast<std::byte*>(this + 1)), end_(blockEnd) {}

  void reserveOneMore();
  QVRMsgData* newCopy(const QVRMsgData& data);
  /// @return null where the block has no room left.
  void* take(std::size_t size);

  template <class Argument>
  static QVRMsgData* place(const QVRMsgData& data, MessageStore& store) {
    return store.put(static_cast<const Argument&>(data));
  }
  template <class Argument>
  static void write(const QVRMsgData& data, const QVRLocale& locale, WideText& to) {
    writeValue(static_cast<const Argument&>(data), locale, to);
  }
  template <class Argument>
  static constexpr ArgumentKind kKind = {&place<Argument>, &write<Argument>};

  template <class T>
  static void writeValue(const QVRNumericMsg<T>& argument, const QVRLocale&, WideText& to) {
    if constexpr (std::is_floating_point_v<T>) {
      internal::write(to, static_cast<double>(argument.value_), argument.getPrecision());
    } else if constexpr (std::is_signed_v<T>) {
      internal::write(to, static_cast<long>(argument.value_));
    } else {
      internal::write(to, static_cast<unsigned long>(argument.value_));
    }
  }
  static void writeValue(const QVRBasicStringMsg<char>& argument, const QVRLocale&, WideText& to) {
    internal::write(to, argument.text_.data(), argument.text_.size());
  }
  static void writeValue(const QVRBasicStringMsg<wchar16>& argument, const QVRLocale&,
                         WideText& to) {
    to.append(argument.text_.data(), argument.text_.size());
  }
  static void writeValue(const QVRMsgData& argument, const QVRLocale& locale, WideText& to) {
    const std::u16string text = argument.scribe(locale);
    to.append(text.data(), text.size());
  }

  template <class Argument>
  QVRMsgData* put(const Argument& argument) {
    void* const storage = take(sizeof(Argument));
    return storage == nullptr ? nullptr : new (storage) Argument(argument);
  }
  template <class C>
  QVRMsgData* put(const QVRBasicStringMsg<C>& argument);

  std::byte* free_;
  std::byte* const end_;
  std::u16string_view format_;
  std::size_t size_ = 0;
  std::array<QVRMsgData*, kStep> first_;
  std::vector<QVRMsgData*> others_;
};

}  // namespace qvr::internal
