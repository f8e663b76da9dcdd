#include "SystemFailure.h"

#include "QVREAccessDenied.h"
#include "QVREIOError.h"

namespace catalogue {
namespace {

template <class Failure>
[[noreturn]] void throwWith(const std::error_code& reason, Failure failure) {
  failure << reason.message();
  throw failure;
}

}  // namespace

void throwSystemFailure(const wchar16* text, const std::error_code& reason, const char* source,
                        int line) {
  if (reason == std::errc::permission_denied) {
    throwWith(reason, QVREAccessDenied(text, source, line));
  }
  throwWith(reason, QVREIOError(text, source, line));
}

}  // namespace catalogue
