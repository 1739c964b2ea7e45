// The dial-up seam over the real rasapi32.dll: the three entry points load, and a machine
// with no dial-up connection lists none (and clears what the caller held), so closing a
// connection offers no hang-up. Wine's RasGetConnectStatusA answers 0 for any handle, so
// the status of a gone connection is pinned by the scripted tests only.
#include <gtest/gtest.h>

#include "platform/win32/ras_dial_up.h"

namespace qbrk {
namespace {

TEST(RasDialUp, LoadsAndListsNoConnections) {
  RasDialUpLoader loader;
  std::unique_ptr<DialUp> dial_up = loader.Load();
  ASSERT_NE(dial_up, nullptr) << "rasapi32.dll or one of its three entry points is missing";

  std::vector<DialUpEntry> entries{{1, "stale"}};
  EXPECT_EQ(dial_up->Enumerate(&entries), 0u);
  EXPECT_TRUE(entries.empty());
}

}  // namespace
}  // namespace qbrk
