#include "platform/win32/unique_handle.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

TEST(UniqueHandleTest, ClosesOnceAndKeepsLastError) {
  HANDLE raw = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  ASSERT_NE(raw, nullptr);
  {
    UniqueEvent event(raw);
    SetLastError(1234);
    event.reset();
    EXPECT_EQ(GetLastError(), 1234u);
    EXPECT_FALSE(event);
  }
  // The handle was closed exactly once: waiting on it now fails as an invalid handle.
  EXPECT_EQ(WaitForSingleObject(raw, 0), WAIT_FAILED);
}

TEST(UniqueHandleTest, MovesOwnershipAndTreatsInvalidValuesAsEmpty) {
  UniqueFile none(INVALID_HANDLE_VALUE);
  EXPECT_FALSE(none);
  UniqueEvent first(CreateEventA(nullptr, TRUE, TRUE, nullptr));
  ASSERT_TRUE(first);
  UniqueEvent second(std::move(first));
  EXPECT_FALSE(first);
  ASSERT_TRUE(second);
  EXPECT_EQ(WaitForSingleObject(second.get(), 0), WAIT_OBJECT_0);
}

}  // namespace
}  // namespace qbrk
