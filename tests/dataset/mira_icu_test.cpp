// A data set pairs components of one kind only, so no boot ever asks an
// ICU component to judge another kind: only here.
#include "dataset/mira_icu.h"

#include <errno.h>

#include <gtest/gtest.h>

#include "dataset/mira_zoneinfo.h"
#include "harness/harness.h"

namespace {

TEST(mira_icu, compatible_schema_refuses_another_kind) {
  const mira_icu icu;
  const mira_zoneinfo zoneinfo;
  expect_lines(
      "mira-tzlink: mira_icu::compatible_schema: could not dynamic_cast other "
      "component: Operation not permitted\n",
      stderr_of([&] {
        errno = EPERM;
        EXPECT_FALSE(icu.compatible_schema(zoneinfo));
      }));
}

}  // namespace
