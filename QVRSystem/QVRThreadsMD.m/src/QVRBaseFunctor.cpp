#include "QVRBaseFunctor.h"

_QVRBaseFunctorBody::~_QVRBaseFunctorBody() noexcept(false) = default;

_QVRBaseFunctorBody* QVRBaseFunctor::getBody() const { return nullptr; }

bool QVRBaseFunctor::operator==(const QVRBaseFunctor& other) const {
  const _QVRBaseFunctorBody* const ours = getBody();
  const _QVRBaseFunctorBody* const theirs = other.getBody();
  if (ours == nullptr || theirs == nullptr) return ours == theirs;
  return ours->isEqual(*theirs);
}

bool QVRBaseFunctor::operator<(const QVRBaseFunctor& other) const {
  const _QVRBaseFunctorBody* const ours = getBody();
  const _QVRBaseFunctorBody* const theirs = other.getBody();
  if (ours == nullptr || theirs == nullptr) return ours == nullptr && theirs != nullptr;
  return ours->isLess(*theirs);
}

void* QVRBaseFunctor::getCallee() const {
  const _QVRBaseFunctorBody* const body = getBody();
  return body != nullptr ? body->getCallee() : nullptr;
}
