// The dialog driver itself: a wrong dialog or none at all fails at once and names what it saw,
// instead of leaving the run to CTest's time-out.
#include "support/dialog_driver.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "dialogs/sync_confirmation.h"

namespace qbrk {
namespace {

using test::RunDialog;

TEST(DialogDriverTest, ADialogWithAnotherTitleFailsNamingItAndIsEnded) {
  bool driven = false;
  const DWORD start = GetTickCount();
  EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(
      RunDialog([] { return ConfirmSynchronize(nullptr) ? 1u : 0u; }, "Expected title",
                [&](HWND) { driven = true; }),
      "but \"Qbrookツール－同期\" showing");
  EXPECT_FALSE(driven);
  // Well within the five seconds allowed for a dialog to appear.
  EXPECT_LT(GetTickCount() - start, 4000u);
}

TEST(DialogDriverTest, ACallThatOpensNothingFailsWhenItReturns) {
  bool driven = false;
  const DWORD start = GetTickCount();
  EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(
      RunDialog([] { return 7u; }, "Expected title", [&](HWND) { driven = true; }),
      "no dialog titled \"Expected title\" opened before the call returned");
  EXPECT_FALSE(driven);
  EXPECT_LT(GetTickCount() - start, 4000u);
}

}  // namespace
}  // namespace qbrk
