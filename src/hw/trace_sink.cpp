// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/trace_sink.h"

#include <zlib.h>
#include <zstd.h>

#include <cstdio>
#include <vector>

#include "hw/shared_library.h"

namespace quorvi {

namespace {

#define QUORVI_ZSTD_CALLS(X)                                                                    \
  X(ZSTD_createCCtx) X(ZSTD_freeCCtx) X(ZSTD_CCtx_setParameter) X(ZSTD_compressStream2) X(ZSTD_isError) \
  X(ZSTD_CStreamOutSize)
#define QUORVI_ZLIB_CALLS(X) X(gzopen) X(gzwrite) X(gzclose)

struct ZstdCalls {
  QUORVI_LIBRARY_CALLS(QUORVI_ZSTD_CALLS)
};
struct ZlibCalls {
  QUORVI_LIBRARY_CALLS(QUORVI_ZLIB_CALLS)
};

class PlainSink final : public TraceSink {
 public:
  explicit PlainSink(std::FILE* file) : file_(file) {}
  ~PlainSink() override { (void)Close(); }
  void Write(std::string_view text) override {
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) failed_ = true;
  }
  void Fail() { failed_ = true; }
  bool Close() override {
    if (file_ == nullptr) return !failed_;
    if (std::fclose(file_) != 0) failed_ = true;
    file_ = nullptr;
    return !failed_;
  }

 private:
  std::FILE* file_;
  bool failed_ = false;
};

// A trace shrinks about sixfold at zstd's level 1, for about half the CPU of
// the write it records (bench/trace_bench.cpp); the higher levels cost more
// and give less on traces.
class ZstdSink final : public TraceSink {
 public:
  ZstdSink(std::shared_ptr<const ZstdCalls> zstd, std::FILE* file, ZSTD_CCtx* context)
      : zstd_(std::move(zstd)), plain_(file), context_(context), out_(zstd_->ZSTD_CStreamOutSize()) {}
  ~ZstdSink() override { (void)Close(); }
  void Write(std::string_view text) override {
    ZSTD_inBuffer in{text.data(), text.size(), 0};
    while (in.pos < in.size) Compress(in, ZSTD_e_continue);
  }
  bool Close() override {
    if (context_ == nullptr) return plain_.Close();
    ZSTD_inBuffer none{nullptr, 0, 0};
    for (size_t left = 1; left != 0;) left = Compress(none, ZSTD_e_end);
    zstd_->ZSTD_freeCCtx(context_);
    context_ = nullptr;
    return plain_.Close();
  }

 private:
  // What is left to flush, 0 when nothing is.
  size_t Compress(ZSTD_inBuffer& in, ZSTD_EndDirective mode) {
    ZSTD_outBuffer out{out_.data(), out_.size(), 0};
    const size_t left = zstd_->ZSTD_compressStream2(context_, &out, &in, mode);
    if (zstd_->ZSTD_isError(left) != 0) {
      plain_.Fail();
      in.pos = in.size;
      return 0;
    }
    plain_.Write(std::string_view(out_.data(), out.pos));
    return left;
  }

  std::shared_ptr<const ZstdCalls> zstd_;
  PlainSink plain_;
  ZSTD_CCtx* context_;
  std::vector<char> out_;
};

// The most common compressed form, at zlib's fastest level: about fourfold
// smaller, for about 1.4 times the CPU of the write it records.
class GzipSink final : public TraceSink {
 public:
  GzipSink(std::shared_ptr<const ZlibCalls> zlib, gzFile file) : zlib_(std::move(zlib)), file_(file) {}
  ~GzipSink() override { (void)Close(); }
  void Write(std::string_view text) override {
    if (!text.empty() && zlib_->gzwrite(file_, text.data(), static_cast<unsigned>(text.size())) == 0) failed_ = true;
  }
  bool Close() override {
    if (file_ == nullptr) return !failed_;
    if (zlib_->gzclose(file_) != Z_OK) failed_ = true;
    file_ = nullptr;
    return !failed_;
  }

 private:
  std::shared_ptr<const ZlibCalls> zlib_;
  gzFile file_;
  bool failed_ = false;
};

}  // namespace

Result<std::unique_ptr<TraceSink>> OpenTraceSink(const std::string& path) {
  if (path.ends_with(".gz")) {
    const Result<std::shared_ptr<const ZlibCalls>> zlib = LoadCalls<ZlibCalls>(QUORVI_ZLIB_SONAME, "A .gz trace");
    if (!zlib) return zlib.status();
    gzFile file = zlib.value()->gzopen(path.c_str(), "wb1");
    if (file == nullptr) return Status::Fail("Cannot write the trace file " + path);
    return std::unique_ptr<TraceSink>(std::make_unique<GzipSink>(zlib.value(), file));
  }
  Result<std::shared_ptr<const ZstdCalls>> zstd = std::shared_ptr<const ZstdCalls>();
  if (path.ends_with(".zst")) {
    zstd = LoadCalls<ZstdCalls>(QUORVI_ZSTD_SONAME, "A .zst trace");
    if (!zstd) return zstd.status();
  }
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return Status::Fail("Cannot write the trace file " + path);
  if (const std::shared_ptr<const ZstdCalls>& calls = zstd.value()) {
    ZSTD_CCtx* context = calls->ZSTD_createCCtx();
    if (context == nullptr ||
        calls->ZSTD_isError(calls->ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, 1)) != 0) {
      std::fclose(file);
      calls->ZSTD_freeCCtx(context);
      return Status::Fail("Cannot start compressing the trace file " + path);
    }
    return std::unique_ptr<TraceSink>(std::make_unique<ZstdSink>(calls, file, context));
  }
  return std::unique_ptr<TraceSink>(std::make_unique<PlainSink>(file));
}

}  // namespace quorvi
