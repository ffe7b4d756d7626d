// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/vcd_writer.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <string>
#include <utility>

namespace quorvi {

namespace {

// The sink takes the text in pieces of about this size; a change adds at most
// a stamp and every wire, Start the header and the first levels as well.
constexpr size_t kChunkBytes = 1 << 16;
constexpr size_t kSlackBytes = 2048;

}  // namespace

VcdWriter::VcdWriter(std::unique_ptr<TraceSink> sink, std::span<const VcdWire> wires)
    : sink_(std::move(sink)), wires_(wires), text_(kChunkBytes + kSlackBytes), end_(text_.data()) {
  Put("$version Quorvi port trace $end\n$timescale 1 ns $end\n$scope module board $end\n");
  for (const VcdWire& wire : wires_) Put(std::string("$var wire 1 ") + wire.id + ' ' + wire.name + " $end\n");
  Put("$upscope $end\n$enddefinitions $end\n");
}

void VcdWriter::Start(int64_t ns, uint16_t levels) {
  Stamp(ns);
  Put("$dumpvars\n");
  for (size_t i = 0; i < wires_.size(); ++i) Level(levels, i);
  Put("$end\n");
}

void VcdWriter::Change(int64_t ns, uint16_t levels, uint16_t before) {
  Stamp(ns);
  for (auto changed = static_cast<uint16_t>(levels ^ before); changed != 0; changed &= changed - 1) {
    Level(levels, static_cast<size_t>(std::countr_zero(changed)));
  }
  if (end_ - text_.data() >= static_cast<ptrdiff_t>(kChunkBytes)) Hand();
}

bool VcdWriter::Close(int64_t ns) {
  if (started()) Stamp(std::max(ns, lastStamp_ + 1));
  Hand();
  return sink_->Close();
}

void VcdWriter::Put(std::string_view text) { end_ = std::copy(text.begin(), text.end(), end_); }

void VcdWriter::Stamp(int64_t ns) {
  lastStamp_ = ns;
  // A local end: the compiler must assume that stores through a char pointer change `end_`.
  char* end = end_;
  *end++ = '#';
  // The milliseconds change seldom: their digits are kept, the rest written fixed-width.
  const int64_t ms = ns / 1'000'000;
  if (ms == 0) {
    end = std::to_chars(end, end + 20, ns).ptr;
  } else {
    if (ms != stampMs_) {
      stampMs_ = ms;
      const char* digitsEnd = std::to_chars(msDigits_.data(), msDigits_.data() + msDigits_.size(), ms).ptr;
      msDigitCount_ = static_cast<size_t>(digitsEnd - msDigits_.data());
    }
    end = std::copy_n(msDigits_.data(), msDigitCount_, end);
    auto rest = static_cast<uint32_t>(ns % 1'000'000);
    for (int i = 5; i >= 0; --i, rest /= 10) end[i] = static_cast<char>('0' + rest % 10);
    end += 6;
  }
  *end++ = '\n';
  end_ = end;
}

void VcdWriter::Level(uint16_t levels, size_t wire) {
  char* end = end_;
  end[0] = (static_cast<unsigned>(levels) >> wire & 1U) != 0 ? '1' : '0';
  end[1] = wires_[wire].id;
  end[2] = '\n';
  end_ = end + 3;
}

void VcdWriter::Hand() {
  sink_->Write(std::string_view(text_.data(), static_cast<size_t>(end_ - text_.data())));
  end_ = text_.data();
}

}  // namespace quorvi
