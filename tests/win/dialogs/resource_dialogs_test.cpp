// The library's resources as Windows loads them from the module: strings, icons and the
// dialog templates that other parts of the library open.
#include <gtest/gtest.h>

#include <string>

#include "dialogs/sync_confirmation.h"
#include "platform/memory/memory_string_table.h"
#include "platform/win32/own_module.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;
using test::TextOf;

TEST(ResourceTest, StringResourcesMatchTheTableTheNativeBuildUses) {
  MemoryStringTable twin;
  int present = 0;
  for (UINT id = 100; id <= 190; ++id) {
    char text[4096] = {};
    const int length = LoadStringA(OwnModule(), id, text, sizeof(text));
    EXPECT_EQ(std::string(text, length), twin.Load(id)) << id;
    present += length > 0 ? 1 : 0;
  }
  EXPECT_EQ(present, 55);
}

TEST(ResourceTest, IconsExistInBothSizesWithAlpha) {
  for (int id : {IDI_QBRK_DONE, IDI_QBRK_SYNC_FRAME1, IDI_QBRK_SYNC_FRAME2, IDI_QBRK_SYNC_FRAME3}) {
    for (int size : {16, 32}) {
      SCOPED_TRACE(testing::Message() << "icon " << id << " at " << size);
      auto icon = static_cast<HICON>(
          LoadImageA(OwnModule(), MAKEINTRESOURCEA(id), IMAGE_ICON, size, size, 0));
      ASSERT_NE(icon, nullptr);
      ICONINFO info{};
      ASSERT_TRUE(GetIconInfo(icon, &info));
      BITMAP colour{};
      GetObjectA(info.hbmColor, sizeof(colour), &colour);
      EXPECT_EQ(colour.bmWidth, size);
      EXPECT_EQ(colour.bmBitsPixel, 32);
      DeleteObject(info.hbmColor);
      DeleteObject(info.hbmMask);
      DestroyIcon(icon);
    }
  }
}

TEST(ResourceTest, SyncConfirmationGoesOnOnlyOnYes) {
  const char kTitle[] = "Qbrookツール－同期";
  const uint32_t yes = RunDialog([] { return ConfirmSynchronize(nullptr) ? 1u : 0u; }, kTitle,
                                 [](HWND dialog) {
                                   EXPECT_EQ(TextOf(dialog, IDC_SYNC_CONFIRM_TEXT),
                                             "同期をとります。よろしいですか？");
                                   EXPECT_EQ(TextOf(dialog, IDOK), "はい(&Y)");
                                   EXPECT_EQ(TextOf(dialog, IDCANCEL), "いいえ(&N)");
                                   EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6004"));
                                   Click(dialog, IDOK);
                                 });
  EXPECT_EQ(yes, 1u);
  const uint32_t no = RunDialog([] { return ConfirmSynchronize(nullptr) ? 1u : 0u; }, kTitle,
                                [](HWND dialog) { Click(dialog, IDCANCEL); });
  EXPECT_EQ(no, 0u);
  const uint32_t escaped = RunDialog([] { return ConfirmSynchronize(nullptr) ? 1u : 0u; }, kTitle,
                                     [](HWND dialog) { test::PressEscape(dialog); });
  EXPECT_EQ(escaped, 0u);
}

INT_PTR CALLBACK EndOnButton(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
  if (message == WM_INITDIALOG) return TRUE;
  if (message == WM_COMMAND && (LOWORD(wparam) == IDOK || LOWORD(wparam) == IDCANCEL)) {
    EndDialog(dialog, LOWORD(wparam));
    return TRUE;
  }
  return FALSE;
}

TEST(ResourceTest, MirrorFolderTemplateHasItsControls) {
  const uint32_t result = RunDialog(
      [] {
        return static_cast<uint32_t>(DialogBoxParamA(
            OwnModule(), MAKEINTRESOURCEA(IDD_MIRROR_FOLDER), nullptr, EndOnButton, 0));
      },
      "Qbrookツール－同期対象フォルダ変更",
      [](HWND dialog) {
        EXPECT_EQ(TextOf(dialog, IDC_MIRROR_EXPLANATION),
                  "お使いのパソコンの同期対象フォルダを変更します。");
        EXPECT_EQ(TextOf(dialog, IDC_MIRROR_BROWSE), "参照...");
        EXPECT_EQ(TextOf(dialog, IDC_MIRROR_COPY), "フォルダの内容を変更先にコピーする(&C)");
        EXPECT_EQ(TextOf(dialog, IDC_MIRROR_DEFAULT), "既定の設定に戻す(&D)");
        EXPECT_EQ(TextOf(dialog, IDOK), "OK");
        EXPECT_EQ(TextOf(dialog, IDCANCEL), "キャンセル");
        EXPECT_NE(GetDlgItem(dialog, IDC_MIRROR_PATH), nullptr);
        SetDlgItemTextA(dialog, IDC_MIRROR_PATH,
                        "C:\\Documents and Settings\\taro\\My Documents\\My Quellanbrook");
        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6030"));
        Click(dialog, IDCANCEL);
      });
  EXPECT_EQ(result, static_cast<uint32_t>(IDCANCEL));
}

}  // namespace
}  // namespace qbrk
