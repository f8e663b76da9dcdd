#include "QVRFunctor0.h"

_QVRBaseFunctor0Body::~_QVRBaseFunctor0Body() noexcept(false) = default;

QVRFunctor0::QVRFunctor0(const QVRFunctor0& other)
    : QVRBaseFunctor(other), body_(other.body_ != nullptr ? other.body_->clone() : nullptr) {}

QVRFunctor0& QVRFunctor0::operator=(const QVRFunctor0& other) {
  if (this == &other) return *this;
  delete body_.release();  // not reset(), which lets no exception through
  if (other.body_ != nullptr) body_.reset(other.body_->clone());
  return *this;
}

_QVRBaseFunctorBody* QVRFunctor0::getBody() const { return body_.get(); }
