// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/intel_hex.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "util/arith.h"

namespace quorvi {

namespace {

constexpr int kData = 0x00;
constexpr int kEnd = 0x01;
constexpr int kSegmentAddress = 0x02;
constexpr int kStartSegment = 0x03;
constexpr int kLinearAddress = 0x04;
constexpr int kStartLinear = 0x05;
constexpr size_t kRecordBytes = 16;
constexpr size_t kRecordOverheadChars = 13;  // ':', count, address, type, sum, CR LF

// Our earlier versions summed every ID and configuration record as if its
// address were 400Eh; those four ID records are known and accepted.
constexpr std::array<uint32_t, 4> kOldIdRecordAddresses = {0x4000, 0x4002, 0x4004, 0x4006};
constexpr unsigned kOldIdPrefixSum = 0x50;

std::string Hex2(int value) { return PadLeft(HexText(value), 2); }

class Parser {
 public:
  Parser(std::string_view text, const std::string& path) : text_(text), path_(path) {}

  Result<HexContent> Run();

 private:
  Status Fail(const std::string& problem) const {
    return Status::Fail(path_ + ", line " + std::to_string(line_) + ": " + problem);
  }
  // The record on the current line, its bytes decoded and its sum checked.
  Status Decode(std::string_view record, std::vector<uint8_t>& bytes);
  Status Take(const std::vector<uint8_t>& bytes, bool& ended);
  void AddData(uint32_t address, const uint8_t* data, size_t count);
  Status CheckOverlaps() const;

  std::string_view text_;
  const std::string& path_;
  int line_ = 0;
  uint32_t base_ = 0;
  HexContent content_;
};

Status Parser::Decode(std::string_view record, std::vector<uint8_t>& bytes) {
  if (record.size() < 11 || record.size() % 2 == 0) {
    return Fail("the record \"" + std::string(record) + "\" is not a whole Intel HEX record");
  }
  const size_t count = (record.size() - 1) / 2;
  bytes.resize(count);
  // Locals, not the vector: a byte store may alias its size and pointer,
  // which the loop would otherwise load again for every byte.
  uint8_t* out = bytes.data();
  const char* digits = record.data() + 1;
  unsigned sum = 0;
  int invalid = 0;  // negative once any digit is not hex: one test per record, not per byte
  for (size_t i = 0; i < count; ++i) {
    const int high = HexDigitValue(digits[2 * i]);
    const int low = HexDigitValue(digits[2 * i + 1]);
    invalid |= high | low;
    const auto byte = static_cast<uint8_t>(high * 16 + low);
    out[i] = byte;
    sum += byte;
  }
  if (invalid < 0) {
    size_t i = 0;
    while (HexDigitValue(digits[2 * i]) >= 0 && HexDigitValue(digits[2 * i + 1]) >= 0) ++i;
    return Fail("\"" + std::string(record.substr(1 + 2 * i, 2)) + "\" at column " + std::to_string(2 + 2 * i) +
                " is not a hex byte");
  }
  if (bytes[0] + 5U != bytes.size()) {
    return Fail("the record says it holds " + std::to_string(bytes[0]) + " bytes but holds " +
                std::to_string(bytes.size() - 5));
  }
  sum -= bytes.back();
  const auto expected = static_cast<uint8_t>(0x100U - (sum & 0xFFU));
  const uint8_t found = bytes.back();
  if (found == expected) return Status::Ok();
  const uint32_t address = (static_cast<uint32_t>(bytes[1]) << 8U) | bytes[2];
  const bool oldIdRecord = base_ == 0 && bytes[0] == 2 && bytes[3] == kData &&
                           std::find(kOldIdRecordAddresses.begin(), kOldIdRecordAddresses.end(), address) !=
                               kOldIdRecordAddresses.end() &&
                           found == static_cast<uint8_t>(0x100U - ((kOldIdPrefixSum + bytes[4] + bytes[5]) & 0xFFU));
  if (oldIdRecord) {
    content_.oldIdRecordLines.push_back(line_);
    return Status::Ok();
  }
  return Fail("checksum " + Hex2(found) + "h, but the record's bytes need " + Hex2(expected) + "h");
}

Status Parser::Take(const std::vector<uint8_t>& bytes, bool& ended) {
  const size_t count = bytes[0];
  const uint32_t offset = (static_cast<uint32_t>(bytes[1]) << 8U) | bytes[2];
  const int type = bytes[3];
  const uint8_t* data = bytes.data() + 4;
  const auto twoByteValue = [&] { return (static_cast<uint32_t>(data[0]) << 8U) | data[1]; };
  switch (type) {
    case kData:
      AddData(base_ + offset, data, count);
      return Status::Ok();
    case kEnd:
      ended = true;
      return Status::Ok();
    case kSegmentAddress:
    case kLinearAddress:
      if (count != 2) return Fail("an extended address record holds 2 bytes, not " + std::to_string(count));
      base_ = type == kLinearAddress ? twoByteValue() << 16U : twoByteValue() << 4U;
      return Status::Ok();
    case kStartSegment:
    case kStartLinear:
      return Status::Ok();  // an entry point means nothing to a chip
    default:
      return Fail("record type " + Hex2(type) + " is not an Intel HEX record type");
  }
}

void Parser::AddData(uint32_t address, const uint8_t* data, size_t count) {
  if (count == 0) return;
  if (content_.blocks.empty() || content_.blocks.back().end() != address) {
    content_.blocks.push_back({address, {}, {}});
    // Most files are one run of bytes: room for all the rest spares the copies of growing.
    if (content_.blocks.size() == 1) content_.blocks.back().bytes.reserve(text_.size() / 2);
  }
  HexBlock& block = content_.blocks.back();
  block.lines.emplace_back(static_cast<uint32_t>(block.bytes.size()), line_);
  block.bytes.append(reinterpret_cast<const char*>(data), count);
}

Status Parser::CheckOverlaps() const {
  std::vector<const HexBlock*> sorted;
  sorted.reserve(content_.blocks.size());
  for (const HexBlock& block : content_.blocks) sorted.push_back(&block);
  std::sort(sorted.begin(), sorted.end(), [](const HexBlock* a, const HexBlock* b) { return a->address < b->address; });
  for (size_t i = 1; i < sorted.size(); ++i) {
    const HexBlock& later = *sorted[i];
    for (size_t j = i; j-- > 0;) {
      const HexBlock& earlier = *sorted[j];
      if (earlier.end() <= later.address) continue;
      const uint32_t last = std::min(earlier.end(), later.end());
      for (uint32_t a = later.address; a < last; ++a) {
        const char x = earlier.bytes[a - earlier.address];
        const char y = later.bytes[a - later.address];
        if (x == y) continue;
        const int lineX = earlier.LineOf(a - earlier.address);
        const int lineY = later.LineOf(a - later.address);
        return Status::Fail(path_ + ": lines " + std::to_string(std::min(lineX, lineY)) + " and " +
                            std::to_string(std::max(lineX, lineY)) + " give byte address " +
                            HexText(static_cast<int32_t>(a)) + "h two values (" + Hex2(static_cast<uint8_t>(x)) +
                            "h and " + Hex2(static_cast<uint8_t>(y)) + "h)");
      }
    }
  }
  return Status::Ok();
}

Result<HexContent> Parser::Run() {
  std::vector<uint8_t> bytes;
  size_t pos = 0;
  bool ended = false;
  while (pos < text_.size() && !ended) {
    size_t next = text_.find('\n', pos);
    if (next == std::string_view::npos) next = text_.size();
    std::string_view record = text_.substr(pos, next - pos);
    pos = next + 1;
    ++line_;
    while (!record.empty() && (record.back() == '\r' || record.back() == ' ' || record.back() == '\t')) {
      record.remove_suffix(1);
    }
    if (record.empty()) continue;
    if (record.front() != ':') return Fail("\"" + std::string(record.substr(0, 20)) + "\" is not an Intel HEX record");
    if (Status decoded = Decode(record, bytes); !decoded) return decoded;
    if (Status taken = Take(bytes, ended); !taken) return taken;
  }
  if (!ended) return Fail("the file ends without its end record (:00000001FF)");
  if (Status unique = CheckOverlaps(); !unique) return unique;
  return std::move(content_);
}

// Each byte's two digits, so that a record is written two characters a store.
constexpr std::array<char, 512> kHexPairs = [] {
  std::array<char, 512> pairs{};
  for (size_t byte = 0; byte < 256; ++byte) {
    pairs[2 * byte] = kHexDigits[byte >> 4U];
    pairs[2 * byte + 1] = kHexDigits[byte & 0xFU];
  }
  return pairs;
}();

constexpr size_t kLongestRecordChars = kRecordOverheadChars + 2 * kRecordBytes;

// Writes one record of at most kRecordBytes data bytes at `at`, which has
// room for kLongestRecordChars; returns the end.
char* PutRecord(char* at, unsigned type, uint32_t address, const char* data, size_t count) {
  unsigned sum = 0;
  const auto put = [&at, &sum](unsigned byte) {
    std::memcpy(at, &kHexPairs[2 * byte], 2);
    at += 2;
    sum += byte;
  };
  *at++ = ':';
  for (const unsigned byte : {static_cast<unsigned>(count), address >> 8U, address & 0xFFU, type}) put(byte);
  for (size_t i = 0; i < count; ++i) put(static_cast<uint8_t>(data[i]));
  put((0x100U - (sum & 0xFFU)) & 0xFFU);
  *at++ = '\r';
  *at++ = '\n';
  return at;
}

// Records go straight into the string. It starts with the room its caller
// works out; should that be short, it grows rather than overruns.
class RecordWriter {
 public:
  explicit RecordWriter(size_t expectedChars) : out_(std::max(expectedChars, kLongestRecordChars), '\0') {}
  void Put(unsigned type, uint32_t address, const char* data, size_t count) {
    if (out_.size() - used_ < kLongestRecordChars) out_.resize(2 * out_.size());
    used_ = static_cast<size_t>(PutRecord(out_.data() + used_, type, address, data, count) - out_.data());
  }
  std::string Take() && {
    out_.resize(used_);
    return std::move(out_);
  }

 private:
  std::string out_;
  size_t used_ = 0;
};

}  // namespace

int HexBlock::LineOf(uint32_t offset) const {
  const auto after = std::upper_bound(lines.begin(), lines.end(), offset,
                                      [](uint32_t value, const auto& start) { return value < start.first; });
  return after == lines.begin() ? 0 : std::prev(after)->second;
}

Result<HexContent> ParseIntelHex(std::string_view text, const std::string& path) {
  return Parser(text, path).Run();
}

std::string FormatIntelHex(const std::vector<HexBlock>& blocks) {
  // Room for the most records a block can take: one more at each end for a
  // start and an end off the 16-byte grid, and an address record per 64 KiB.
  size_t chars = kRecordOverheadChars;
  for (const HexBlock& block : blocks) {
    const size_t size = block.bytes.size();
    chars += (size / kRecordBytes + 2 + size / 0x10000 + 2) * kLongestRecordChars;
  }
  RecordWriter out(chars);
  uint32_t upper = 0;
  for (const HexBlock& block : blocks) {
    for (size_t at = 0; at < block.bytes.size();) {
      const uint32_t address = block.address + static_cast<uint32_t>(at);
      if (address >> 16U != upper) {
        upper = address >> 16U;
        const char value[] = {static_cast<char>(upper >> 8U), static_cast<char>(upper & 0xFFU)};
        out.Put(kLinearAddress, 0, value, sizeof value);
      }
      const size_t room = kRecordBytes - address % kRecordBytes;
      const size_t count = std::min(room, block.bytes.size() - at);
      out.Put(kData, address & 0xFFFFU, block.bytes.data() + at, count);
      at += count;
    }
  }
  out.Put(kEnd, 0, nullptr, 0);
  return std::move(out).Take();
}

}  // namespace quorvi
