// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/shared_library.h"

#include <gtest/gtest.h>

// Declared, never defined: only its type is used, and zlib has no such call.
extern "C" int quorvi_no_such_call(int);
extern "C" const char* zlibVersion();

namespace quorvi {
namespace {

#define ZLIB_WITH_A_MISSING_CALL(X) X(zlibVersion) X(quorvi_no_such_call)
struct ZlibWithAMissingCall {
  QUORVI_LIBRARY_CALLS(ZLIB_WITH_A_MISSING_CALL)
};
#define ZLIB_VERSION_CALL(X) X(zlibVersion)
struct ZlibVersion {
  QUORVI_LIBRARY_CALLS(ZLIB_VERSION_CALL)
};

TEST(SharedLibrary, FailuresNameTheLibraryTheCallAndWhoNeedsThem) {
  const auto missing = LoadCalls<ZlibVersion>("libquorvi-absent.so.9", "A .gz trace");
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.message().find("A .gz trace needs the library libquorvi-absent.so.9"), std::string::npos)
      << missing.message();

  const auto lacking = LoadCalls<ZlibWithAMissingCall>("libz.so.1", "A .gz trace");
  ASSERT_FALSE(lacking);
  EXPECT_EQ(lacking.message().rfind("libz.so.1 has no quorvi_no_such_call, which A .gz trace needs", 0), 0U)
      << lacking.message();
}

}  // namespace
}  // namespace quorvi
