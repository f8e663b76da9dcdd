#include "QVRMsgData.h"

#include <cstddef>

QVRMsgData::~QVRMsgData() = default;

void QVRMsgData::justifyMsg(std::u16string& text) const {
  if (text.size() >= width_) return;
  const std::size_t pad = width_ - text.size();
  switch (alignment_) {
    case AlignLeft:
      text.append(pad, fill_);
      break;
    case AlignCenter:
      text.reserve(width_);
      text.insert(0, pad / 2, fill_).append(pad - pad / 2, fill_);
      break;
    case AlignRight:
      text.insert(0, pad, fill_);
      break;
  }
}
