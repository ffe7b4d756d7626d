// SPDX-License-Identifier: GPL-3.0-or-later
// A shared library opened when a feature first needs it. The USB, GPIO and
// compression libraries would otherwise be loaded and relocated at every
// start, a sixth of a file conversion's whole run.
#pragma once

#include <memory>
#include <string>

#include "util/result.h"

namespace quorvi {

class SharedLibrary {
 public:
  /// `soname` as the build found it; `feature` says what needs it, for the
  /// message when it is missing.
  static Result<std::shared_ptr<const SharedLibrary>> Open(const std::string& soname, const std::string& feature);
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  /// Points `call` at the library's function `name`; false when it has none.
  template <typename Fn>
  bool Bind(Fn& call, const char* name) const {
    call = reinterpret_cast<Fn>(Find(name));
    return call != nullptr;
  }

 private:
  explicit SharedLibrary(void* handle) : handle_(handle) {}
  void* Find(const char* name) const;

  void* handle_;
};

// A table of a library's calls, listed once in an X-macro LIST(X):
//   struct Calls { QUORVI_LIBRARY_CALLS(LIST) };
// declares a pointer named after each call, `library`, which keeps them
// valid, and Bind(library), which gives the first call the library lacks.
#define QUORVI_DECLARE_CALL(name) decltype(&::name) name = nullptr;
#define QUORVI_BIND_CALL(name) \
  if (!from.Bind(name, #name)) return #name;
#define QUORVI_LIBRARY_CALLS(LIST)                                \
  LIST(QUORVI_DECLARE_CALL)                                       \
  std::shared_ptr<const ::quorvi::SharedLibrary> library;         \
  const char* Bind(const ::quorvi::SharedLibrary& from) {         \
    LIST(QUORVI_BIND_CALL)                                        \
    return nullptr;                                               \
  }

/// Opens `soname` and binds every call of `Calls` through its Bind(library)
/// member; the calls keep the library loaded.
template <typename Calls>
Result<std::shared_ptr<const Calls>> LoadCalls(const std::string& soname, const std::string& feature) {
  Result<std::shared_ptr<const SharedLibrary>> library = SharedLibrary::Open(soname, feature);
  if (!library) return library.status();
  auto calls = std::make_shared<Calls>();
  calls->library = library.value();
  if (const char* missing = calls->Bind(*calls->library)) {
    return Status::Fail(soname + " has no " + missing + ", which " + feature + " needs: it is not the version " +
                        "this program was built with.");
  }
  return std::shared_ptr<const Calls>(std::move(calls));
}

}  // namespace quorvi
