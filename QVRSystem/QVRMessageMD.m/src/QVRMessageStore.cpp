#include "QVRMessageStore.h"

#include <algorithm>
#include <utility>

namespace qvr::internal {

namespace {

// What the heap still serves from a thread's own cache.
constexpr std::size_t kBlockSize = 1000;
// Behind a format that is too long for that.
constexpr std::size_t kLeastRoom = 256;

constexpr std::size_t roundUp(std::size_t size) {
  return (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
}

/// Copies the text to `where`, with a zero behind it.
template <class C>
std::basic_string_view<C> copyText(std::basic_string_view<C> text, void* where) {
  C* const copy = static_cast<C*>(where);
  *std::copy(text.begin(), text.end(), copy) = C();
  return {copy, text.size()};
}

}  // namespace

std::unique_ptr<MessageStore> MessageStore::make(std::u16string_view format) {
  const std::size_t formatSize = (format.size() + 1) * sizeof(wchar16);
  const std::size_t size = std::max(kBlockSize, sizeof(MessageStore) + formatSize + kLeastRoom);
  auto* const block = static_cast<std::byte*>(::operator new(size));
  std::unique_ptr<MessageStore> store(new (block) MessageStore(block + size));
  store->format_ = copyText(format, store->take(formatSize));
  return store;
}

MessageStore::~MessageStore() {
  for (std::size_t i = 0; i < size_; ++i) {
    if ((*this)[i].kind_ == nullptr) delete &(*this)[i];
  }
}

std::unique_ptr<MessageStore> MessageStore::copy() const {
  std::unique_ptr<MessageStore> other = make(format_);
  other->others_.reserve(others_.capacity());
  for (std::size_t i = 0; i < size_; ++i) {
    if (other->add((*this)[i]) == nullptr) throw std::bad_alloc();
  }
  return other;
}

QVRMsgData* MessageStore::add(const QVRMsgData& data) {
  reserveOneMore();
  QVRMsgData* const argument = newCopy(data);
  if (argument == nullptr) return nullptr;
  if (size_ < kStep) {
    first_[size_] = argument;
  } else {
    others_.push_back(argument);
  }
  ++size_;
  return argument;
}

void MessageStore::reserveOneMore() {
  if (size_ < kStep + others_.capacity()) return;
  const std::size_t room = ((size_ + 1) / kStep + 1) * kStep;
  others_.reserve(room - kStep);
}

QVRMsgData* MessageStore::newCopy(const QVRMsgData& data) {
  QVRMsgData* const copy = data.kind_ != nullptr ? data.kind_->place(data, *this) : nullptr;
  if (copy == nullptr) return data.clone();
  copy->kind_ = data.kind_;
  return copy;
}

void* MessageStore::take(std::size_t size) {
  const std::size_t rounded = roundUp(size);
  if (rounded > static_cast<std::size_t>(end_ - free_)) return nullptr;
  return std::exchange(free_, free_ + rounded);
}

template <class C>
QVRMsgData* MessageStore::put(const QVRBasicStringMsg<C>& argument) {
  using Argument = QVRBasicStringMsg<C>;
  constexpr std::size_t kTextOffset = roundUp(sizeof(Argument));
  void* const storage = take(kTextOffset + (argument.text_.size() + 1) * sizeof(C));
  if (storage == nullptr) return nullptr;
  void* const text = static_cast<std::byte*>(storage) + kTextOffset;
  auto* const copy = new (storage) Argument(borrow(copyText(argument.text_, text)));
  static_cast<QVRMsgData&>(*copy) = argument;
  return copy;
}

template QVRMsgData* MessageStore::put(const QVRBasicStringMsg<char>& argument);
template QVRMsgData* MessageStore::put(const QVRBasicStringMsg<wchar16>& argument);

}  // namespace qvr::internal
