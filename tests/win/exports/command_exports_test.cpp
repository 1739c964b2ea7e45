// The exports that show something, answered by clicks.
#include <gtest/gtest.h>

#include "dll_fixture.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"

namespace qbrk::test {
namespace {

using Command = UINT(WINAPI*)(UINT_PTR, HWND);
using MsgBox = UINT(WINAPI*)(LPCSTR, LPCSTR, UINT, HWND);

constexpr char kCaption[] = "Qbrook export test";
constexpr char kConfirmTitle[] = "Qbrookツール－同期";
constexpr char kSignInTitle[] = "Qbrookツール－認証";

// A hidden top-level window of the test's thread, to own the library's boxes.
class OwnerWindow {
 public:
  OwnerWindow()
      : window_(CreateWindowA("STATIC", "owner", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                              nullptr, nullptr)) {}
  ~OwnerWindow() { DestroyWindow(window_); }
  HWND get() const { return window_; }

 private:
  HWND window_;
};

TEST_F(DllTest, MessageBoxAnswersTheClickAndIsOwnedByTheGivenOrTheKeptWindow) {
  const auto msg_box = Export<MsgBox>("qbrkMsgBox");
  OwnerWindow kept;
  OwnerWindow given;
  HWND owner_seen = given.get();
  auto press = [&](int button) {
    return [&owner_seen, button](HWND box) {
      owner_seen = GetWindow(box, GW_OWNER);
      Click(box, button);
    };
  };

  EXPECT_EQ(RunDialog([&] { return msg_box("本文です。", kCaption, MB_YESNO, nullptr); }, kCaption,
                      press(IDC_MESSAGE_BUTTON2)),
            static_cast<uint32_t>(IDNO));
  EXPECT_EQ(owner_seen, nullptr);

  // The first guarded call with a window keeps it; a later one does not replace it.
  EXPECT_EQ(Export<Command>("qbrkOnInit")(0, kept.get()), 0u);
  EXPECT_EQ(Export<Command>("qbrkOnDestroy")(0, given.get()), 0u);
  EXPECT_EQ(RunDialog([&] { return msg_box("本文です。", kCaption, MB_YESNO, nullptr); }, kCaption,
                      press(IDC_MESSAGE_BUTTON1)),
            static_cast<uint32_t>(IDYES));
  EXPECT_EQ(owner_seen, kept.get());
  EXPECT_EQ(RunDialog([&] { return msg_box("本文です。", kCaption, MB_OK, given.get()); }, kCaption,
                      press(IDC_MESSAGE_BUTTON1)),
            static_cast<uint32_t>(IDOK));
  EXPECT_EQ(owner_seen, given.get());

  // A window that does not exist cannot own a box: nothing is shown.
  EXPECT_EQ(msg_box("x", kCaption, MB_OK, reinterpret_cast<HWND>(0x7FFFFFF0)), 0xFFFFFFFFu);
}

TEST_F(DllTest, SynchronizeAsksFirstUnlessSyncNotifyIsZero) {
  const auto synchronize = Export<Command>("qbrkSynchronize");
  // Without credentials a synchronization asks for them over its progress dialog; closing
  // that request ends the run and its dialog.
  const auto close_sign_in = [](HWND over) {
    HWND sign_in = WaitForDialog(kSignInTitle, over);
    ASSERT_NE(sign_in, nullptr) << DescribeDialog(over);
    Click(sign_in, IDCANCEL);
  };
  // The confirmation and the progress dialog share their title; only the second has a bar.
  EXPECT_EQ(RunDialog([&] { return synchronize(0, nullptr); }, kConfirmTitle,
                      [](HWND dialog) {
                        EXPECT_EQ(GetDlgItem(dialog, IDC_PROGRESS_BAR), nullptr);
                        Click(dialog, IDCANCEL);
                      }),
            0u);
  EXPECT_EQ(RunDialog([&] { return synchronize(0, nullptr); }, kConfirmTitle,
                      [&](HWND dialog) {
                        EXPECT_EQ(GetDlgItem(dialog, IDC_PROGRESS_BAR), nullptr);
                        Click(dialog, IDOK);
                        close_sign_in(dialog);
                      }),
            1u);
  ASSERT_TRUE(SetSettingDword("SyncNotify", 0));
  EXPECT_EQ(RunDialog([&] { return synchronize(0, nullptr); }, kConfirmTitle,
                      [&](HWND dialog) {
                        EXPECT_NE(GetDlgItem(dialog, IDC_PROGRESS_BAR), nullptr)
                            << "asked first although SyncNotify is 0";
                        close_sign_in(dialog);
                        EXPECT_TRUE(WaitUntilClosed(dialog, 30000)) << DescribeDialog(dialog);
                      }),
            1u);
}

}  // namespace
}  // namespace qbrk::test
