// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/shared_library.h"

#include <dlfcn.h>

namespace quorvi {

Result<std::shared_ptr<const SharedLibrary>> SharedLibrary::Open(const std::string& soname,
                                                                 const std::string& feature) {
  void* handle = dlopen(soname.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* why = dlerror();
    return Status::Fail(feature + " needs the library " + soname + ", which cannot be loaded (" +
                        (why != nullptr ? why : "no reason given") + "); install the package that holds it.");
  }
  return std::shared_ptr<const SharedLibrary>(new SharedLibrary(handle));
}

SharedLibrary::~SharedLibrary() { dlclose(handle_); }

void* SharedLibrary::Find(const char* name) const { return dlsym(handle_, name); }

}  // namespace quorvi
