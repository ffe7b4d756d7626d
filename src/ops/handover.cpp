// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/handover.h"

#include "ops/op_texts.h"

namespace quorvi {

OpResult RunSerialEepromOperation(EepromOperation /*operation*/, OperationFrame& frame) {
  frame.ui().ShowMessage({op_text::kSerialEepromUnavailable, title::kQuorvi2Error, MessageIcon::kCritical});
  frame.End();
  return frame.Finish(OpOutcome::kUnavailable);
}

OpResult Pic18Unavailable(OperationFrame& frame) {
  frame.PowerDown();
  frame.ui().ShowMessage({op_text::kPic18Unavailable, title::kQuorvi2Error, MessageIcon::kCritical});
  frame.End();
  return frame.Finish(OpOutcome::kUnavailable);
}

}  // namespace quorvi
