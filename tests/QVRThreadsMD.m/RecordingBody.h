// A functor body that tells what its functors do with it.
#pragma once

#include <functional>
#include <string>

#include "_QVRBaseFunctor0Body.h"

/// Writes down when it is i(nvoked), c(loned) and d(eleted). Answers with `callee` where it
/// is asked what it calls, and compares by it.
class RecordingBody : public _QVRBaseFunctor0Body {
 public:
  explicit RecordingBody(std::string& record, int* callee = nullptr)
      : record_(record), callee_(callee) {}
  ~RecordingBody() noexcept override { record_ += 'd'; }

  void* getCallee() const override { return callee_; }
  void* getMember() const override { return nullptr; }
  bool isEqual(const _QVRBaseFunctorBody& other) const override {
    return callee_ == other.getCallee();
  }
  bool isLess(const _QVRBaseFunctorBody& other) const override {
    return std::less<>()(getCallee(), other.getCallee());
  }
  void invoke() override { record_ += 'i'; }
  RecordingBody* clone() const override {
    record_ += 'c';
    return new RecordingBody(*this);
  }

 private:
  std::string& record_;
  int* const callee_;
};
