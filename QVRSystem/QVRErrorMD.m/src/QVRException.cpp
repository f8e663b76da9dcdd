#include "QVRException.h"

#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include "QVRAssert.h"
#include "QVRLocale.h"
#include "QVRSystem/internal/QVRUnwinding.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRErrorMD.m/src/QVRException";
constexpr int kWhatLine = 172;
constexpr int kWhereLine = 205;

constexpr char kWhatOutOfMemory[] = "Cannot construct what string: out of memory";
constexpr char kWhatConversion[] = "Cannot construct what string: conversion error";
constexpr char kWhereOutOfMemory[] = "Cannot construct where string: out of memory";

/// @return null, the text of an exception that has none.
const char* reportUnexpected(int line) {
  QVRReportAssert("Program error", "Unexpected exception", kSource, line);
  return nullptr;
}

std::string narrow(const std::u16string& text, const QVRLocale& locale) {
  constexpr std::size_t kBytesPerUnit = 5;
  constexpr std::size_t kStackSize = 1024;
  const std::size_t size = text.size() * kBytesPerUnit + 1;
  char onStack[kStackSize];
  const std::unique_ptr<char[]> onHeap(size > kStackSize ? new char[size] : nullptr);
  char* const buffer = onHeap != nullptr ? onHeap.get() : onStack;
  locale.get(text, buffer, size);
  return buffer;
}

}  // namespace

QVRException::QVRException(const wchar16* message, const char* srcFile, int srcLine)
    : QVRMessage(message, srcFile, srcLine), srcFile_(srcFile), srcLine_(srcLine) {}

QVRException::QVRException(const QVRException&) = default;

QVRException::QVRException(QVRException&&) noexcept = default;

QVRException::~QVRException() = default;

void QVRException::operator=(const QVRException& other) {
  if (this == &other) return;
  // What can fail comes first and changes nothing then.
  std::string what = other.what_;
  std::string where = other.where_;
  QVRMessage::operator=(other);
  std::exception::operator=(other);
  srcFile_ = other.srcFile_;
  srcLine_ = other.srcLine_;
  what_.swap(what);
  where_.swap(where);
}

const char* QVRException::what() const noexcept {
  if (!what_.empty()) return what_.c_str();
  // The unwinding of a cancelled thread could not leave this function.
  const qvr::internal::CancellationHold hold;
  try {
    const QVRLocale& locale = QVRLocale::global();
    what_ = narrow(scribe(locale), locale);
    return what_.c_str();
  } catch (const std::bad_alloc&) {
    return kWhatOutOfMemory;
  } catch (const std::runtime_error&) {
    return kWhatConversion;
  } catch (...) {
    return reportUnexpected(kWhatLine);
  }
}

const char* QVRException::where() const {
  if (!where_.empty()) return where_.c_str();
  try {
    std::string text(srcFile_ != nullptr ? srcFile_ : "");
    where_ = text.append("(").append(std::to_string(srcLine_)).append(")");
    return where_.c_str();
  } catch (const std::bad_alloc&) {
    return kWhereOutOfMemory;
  } catch (...) {
    if (qvr::internal::isPlatformUnwinding()) throw;
    return reportUnexpected(kWhereLine);
  }
}

void QVRException::raise() const { throw *this; }

QVRMsgData* QVRException::clone() const { return new (std::nothrow) QVRException(*this); }
