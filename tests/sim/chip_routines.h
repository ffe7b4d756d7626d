// SPDX-License-Identifier: GPL-3.0-or-later
// Chip-side routines of the programming documents, written here for the
// simulator tests only (the real write operations come later, elsewhere).
#pragma once

#include "protocol/serial_protocol.h"
#include "sim/chip_info.h"
#include "support/sim_link.h"

namespace quorvi::test {

/// Enters programming mode in the order the chip's class needs.
void Enter(SimLink& s, SerialProtocol& p);
/// Programs `word` at the address counter; returns the cycles it took
/// (EPROM parts: pulses until it reads back, at most 25).
int ProgramWord(SerialProtocol& p, const sim::ChipInfo& info, int word);
/// Writes one data EEPROM byte at the address counter.
void ProgramDataByte(SerialProtocol& p, const sim::ChipInfo& info, int byte);
/// Walks to the configuration word and programs it (12-bit: right after entry).
int ProgramConfig(SerialProtocol& p, const sim::ChipInfo& info, int word);
/// Reads the configuration word (12-bit: right after entry).
int ReadConfig(SerialProtocol& p, const sim::ChipInfo& info);
/// The whole-chip erase of the chip's document (flash parts only).
void EraseChip(SerialProtocol& p, const sim::ChipInfo& info);

}  // namespace quorvi::test
