#include "QVRMsgData.h"

#include <cstddef>

QVRMsgData::~QVRMsgData() = default;

void QVRMsgData::justifyMsg(std::u16string& text) const {
  if (text.size() >= settings_.width) return;
  const std::size_t pad = settings_.width - text.size();
  switch (settings_.alignment) {
    case AlignLeft:
      text.append(pad, settings_.fill);
      break;
    case AlignCenter:
      text.reserve(settings_.width);
      text.insert(0, pad / 2, settings_.fill).append(pad - pad / 2, settings_.fill);
      break;
    case AlignRight:
      text.insert(0, pad, settings_.fill);
      break;
  }
}
