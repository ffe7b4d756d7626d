// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/serial_eeprom_handover.h"

#include "ops/serial_eeprom_ops.h"

namespace quorvi {

OpResult RunSerialEepromOperation(EepromOperation operation, OperationFrame& frame) {
  switch (operation) {
    case EepromOperation::kRead: return SerialEepromRead(frame);
    case EepromOperation::kBlank: return SerialEepromBlank(frame);
    case EepromOperation::kErase: return SerialEepromErase(frame);
    case EepromOperation::kWrite: return SerialEepromWrite(frame);
    case EepromOperation::kCompare: return SerialEepromCompare(frame);
  }
  return frame.Finish(OpOutcome::kFailed);
}

}  // namespace quorvi
