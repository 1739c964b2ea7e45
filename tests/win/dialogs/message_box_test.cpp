// The message box as a person meets it: real dialogs under Xvfb, driven from a second thread.
#include "dialogs/message_box.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "dialogs/message_box_rules.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::ClientRectOf;
using test::RunDialog;
using test::TextOf;

constexpr int kButton[4] = {IDC_MESSAGE_BUTTON1, IDC_MESSAGE_BUTTON2, IDCANCEL, IDC_MESSAGE_STATUS};
constexpr char kCaption[] = "Qbrook message box test";
constexpr char kStatusCaption[] = "運用状況の確認(&W)";

bool Visible(HWND dialog, int id) {
  return IsWindowVisible(GetDlgItem(dialog, id)) != FALSE;
}

// Dialog units to pixels for this dialog's font.
RECT Dlu(HWND dialog, int left, int top, int right, int bottom) {
  RECT rect{left, top, right, bottom};
  MapDialogRect(dialog, &rect);
  return rect;
}

RECT Client(HWND dialog) {
  RECT rect{};
  GetClientRect(dialog, &rect);
  return rect;
}

bool StaysOpen(HWND dialog) {
  Sleep(200);
  return IsWindow(dialog) != FALSE;
}

uint32_t Show(const std::string& text, uint32_t type, const StatusPageAction& action = {}) {
  return ShowMessageBox(text.c_str(), kCaption, type, nullptr, action);
}

struct LayoutCase {
  uint32_t layout;
  std::vector<std::string> captions;  // buttons 1..3; "" when hidden
  std::vector<uint32_t> results;
};

TEST(MessageBoxTest, EachLayoutShowsItsButtonsAndReturnsThePressedOnesResult) {
  const LayoutCase cases[] = {
      {0, {"確認(&C)", "", ""}, {1}},
      {1, {"確認(&C)", "キャンセル", ""}, {1, 2}},
      {2, {"中止(&A)", "再試行(&R)", "無視(&I)"}, {3, 4, 5}},
      {3, {"はい(&Y)", "いいえ(&N)", "キャンセル"}, {6, 7, 2}},
      {4, {"はい(&Y)", "いいえ(&N)", ""}, {6, 7}},
      {5, {"再試行(&R)", "キャンセル", ""}, {4, 2}},
  };
  for (const LayoutCase& c : cases) {
    for (size_t pressed = 0; pressed < c.results.size(); ++pressed) {
      SCOPED_TRACE(testing::Message() << "layout " << c.layout << " button " << pressed + 1);
      const uint32_t result =
          RunDialog([&] { return Show("ボタンの配置を確認します。", c.layout); }, kCaption,
                    [&](HWND dialog) {
                      for (int i = 0; i < 3; ++i) {
                        EXPECT_EQ(Visible(dialog, kButton[i]), !c.captions[i].empty()) << i + 1;
                        if (!c.captions[i].empty()) {
                          EXPECT_EQ(TextOf(dialog, kButton[i]), c.captions[i]);
                        }
                      }
                      EXPECT_FALSE(Visible(dialog, IDC_MESSAGE_STATUS));
                      if (pressed == 0) {
                        EXPECT_TRUE(test::SaveScreenshot(
                            dialog, "message_box_layout" + std::to_string(c.layout)));
                      }
                      Click(dialog, kButton[pressed]);
                    });
      EXPECT_EQ(result, c.results[pressed]);
    }
  }
}

TEST(MessageBoxTest, CancelCommandAndEscapeEndOnlyLayoutsTwoAndThree) {
  const struct {
    uint32_t layout;
    uint32_t first;
  } stays[] = {
      {0, box_result::kOk}, {1, box_result::kOk}, {4, box_result::kYes}, {5, box_result::kRetry}};
  for (const auto [layout, first] : stays) {
    SCOPED_TRACE(testing::Message() << "layout " << layout);
    const uint32_t result = RunDialog([&] { return Show("Escape", layout); }, kCaption,
                                      [](HWND dialog) {
                                        test::PressEscape(dialog);
                                        SendMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
                                        EXPECT_TRUE(StaysOpen(dialog));
                                        Click(dialog, IDC_MESSAGE_BUTTON1);
                                      });
    EXPECT_EQ(result, first);
  }
  // Escape reaches the box through the dialog manager as the cancel command.
  const uint32_t ignore = RunDialog([] { return Show("Escape", 2); }, kCaption,
                                    [](HWND dialog) { test::PressEscape(dialog); });
  EXPECT_EQ(ignore, box_result::kIgnore);
  const uint32_t cancel = RunDialog([] { return Show("Escape", 3); }, kCaption,
                                    [](HWND dialog) { test::PressEscape(dialog); });
  EXPECT_EQ(cancel, box_result::kCancel);
}

TEST(MessageBoxTest, TitleBarCloseIsDisabledAndCloseRequestsAreIgnored) {
  // Layout 3 has a cancel command that would end the box if a close turned into it.
  for (uint32_t layout : {0u, 3u}) {
    const uint32_t result = RunDialog([&] { return Show("閉じられません。", layout); }, kCaption,
                                      [](HWND dialog) {
                                        const UINT state = GetMenuState(
                                            GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND);
                                        EXPECT_NE(state, static_cast<UINT>(-1));
                                        EXPECT_TRUE(state & MF_GRAYED);
                                        SendMessageA(dialog, WM_CLOSE, 0, 0);
                                        SendMessageA(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
                                        EXPECT_TRUE(StaysOpen(dialog));
                                        Click(dialog, IDC_MESSAGE_BUTTON1);
                                      });
    EXPECT_EQ(result, layout == 0 ? box_result::kOk : box_result::kYes) << layout;
  }
}

TEST(MessageBoxTest, LayoutsSixToFifteenKeepTheTemplateAndCannotBeAnswered) {
  for (uint32_t layout : {6u, 15u}) {
    const uint32_t result =
        RunDialog([&] { return Show("配置の指定が範囲外です。", layout); }, kCaption,
                  [&](HWND dialog) {
                    EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_BUTTON1), "確認(&C)");
                    EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_BUTTON2), "キャンセル");
                    EXPECT_EQ(TextOf(dialog, IDCANCEL), "中止(&A)");
                    for (int i = 0; i < 3; ++i)
                      EXPECT_TRUE(Visible(dialog, kButton[i])) << i + 1;
                    if (layout == 6) {
                      EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_layout6"));
                    }
                    for (int i = 0; i < 3; ++i)
                      Click(dialog, kButton[i]);
                    EXPECT_TRUE(StaysOpen(dialog));
                    test::ForceEndDialog(dialog);
                  });
    // Ended from outside: the box reports its initial result.
    EXPECT_EQ(result, box_result::kAbort) << layout;
  }
}

TEST(MessageBoxTest, StatusButtonOpensThePageAndTheBoxStaysOpen) {
  std::atomic<int> opened{0};
  const StatusPageAction open = [&] { ++opened; };
  const uint32_t result =
      RunDialog([&] { return Show("Quellanbrookに接続できません。", 0x4001, open); }, kCaption,
                [&](HWND dialog) {
                  ASSERT_TRUE(Visible(dialog, IDC_MESSAGE_STATUS));
                  EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_STATUS), kStatusCaption);
                  EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_status_button"));
                  Click(dialog, IDC_MESSAGE_STATUS);
                  EXPECT_TRUE(StaysOpen(dialog));
                  EXPECT_EQ(opened, 1);
                  Click(dialog, IDC_MESSAGE_BUTTON2);
                });
  EXPECT_EQ(result, box_result::kCancel);

  // Without an action of its own the box uses the process-wide one.
  std::atomic<int> process_wide{0};
  SetStatusPageAction([&] { ++process_wide; });
  RunDialog([] { return ShowMessageBox("status", kCaption, 0x4000, nullptr); }, kCaption,
            [](HWND dialog) {
              Click(dialog, IDC_MESSAGE_STATUS);
              EXPECT_TRUE(StaysOpen(dialog));
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
  SetStatusPageAction({});
  EXPECT_EQ(process_wide, 1);
}

TEST(MessageBoxTest, DefaultButtonAndFocusFollowTheFlags) {
  const struct {
    uint32_t type;
    int id;
  } cases[] = {
      {0x003, IDC_MESSAGE_BUTTON1}, {0x103, IDC_MESSAGE_BUTTON2}, {0x203, IDCANCEL},
      {0x4303, IDC_MESSAGE_STATUS}, {0x200, IDC_MESSAGE_BUTTON1},  // hidden third button
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << "type 0x" << c.type);
    RunDialog([&] { return Show("既定のボタン", c.type); }, kCaption,
              [&](HWND dialog) {
                const LRESULT default_id = SendMessageA(dialog, DM_GETDEFID, 0, 0);
                EXPECT_EQ(HIWORD(default_id), DC_HASDEFID);
                EXPECT_EQ(LOWORD(default_id), c.id);
                EXPECT_EQ(test::FocusOf(dialog), GetDlgItem(dialog, c.id));
                EXPECT_TRUE(GetWindowLongA(GetDlgItem(dialog, c.id), GWL_STYLE) & BS_DEFPUSHBUTTON);
                Click(dialog, IDC_MESSAGE_BUTTON1);
              });
  }
}

TEST(MessageBoxTest, IconFollowsTheFlags) {
  const struct {
    uint32_t type;
    int system_icon;
    const char* name;
  } cases[] = {
      {0x10, 32513, "hand"},        {0x20, 32514, "question"},     {0x40, 32516, "asterisk"},
      {0x30, 32515, "exclamation"}, {0x00, 32515, "no_icon_bits"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    RunDialog(
        [&] { return Show("アイコンを確認します。", c.type); }, kCaption,
        [&](HWND dialog) {
          const auto icon = reinterpret_cast<HICON>(
              SendDlgItemMessageA(dialog, IDC_MESSAGE_ICON, STM_GETICON, 0, 0));
          EXPECT_NE(icon, nullptr);
          EXPECT_EQ(icon, LoadIconA(nullptr, MAKEINTRESOURCEA(c.system_icon)));
          if (c.type != 0) {
            EXPECT_TRUE(test::SaveScreenshot(dialog, std::string("message_box_icon_") + c.name));
          }
          Click(dialog, IDC_MESSAGE_BUTTON1);
        });
  }
}

TEST(MessageBoxTest, FiveLinesGrowTheBoxByFourLineHeightsAndRecentreTheButtons) {
  const std::string text = "一行目です。\n二行目です。\n三行目です。\n四行目です。\n五行目です。";
  RunDialog([&] { return Show(text, 0x4003); }, kCaption,
            [&](HWND dialog) {
              const int line = Dlu(dialog, 0, 0, 0, 8).bottom;
              const RECT design = Dlu(dialog, 0, 0, 244, 60);
              const RECT client = Client(dialog);
              EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_TEXT), text);
              EXPECT_EQ(client.bottom, design.bottom + 4 * line);
              const RECT text_rect = ClientRectOf(dialog, IDC_MESSAGE_TEXT);
              EXPECT_EQ(text_rect.bottom - text_rect.top, 5 * line);

              // One row below the text, in order 1, 2, 3, status, equal gaps, equal side margins.
              const int row_top = Dlu(dialog, 0, 38, 0, 0).top + 4 * line;
              RECT previous{};
              for (int i = 0; i < 4; ++i) {
                const RECT button = ClientRectOf(dialog, kButton[i]);
                EXPECT_EQ(button.top, row_top) << i + 1;
                if (i > 0) {
                  EXPECT_GT(button.left, previous.right) << i + 1;
                  EXPECT_EQ(button.left - previous.right, Dlu(dialog, 4, 0, 0, 0).left) << i + 1;
                }
                previous = button;
              }
              const int left_margin = ClientRectOf(dialog, kButton[0]).left;
              const int right_margin = client.right - ClientRectOf(dialog, kButton[3]).right;
              EXPECT_LE(std::abs(left_margin - right_margin), 1);
              EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_five_lines"));
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
}

TEST(MessageBoxTest, TextControlIsAsWideAsTheWidestLine) {
  const std::string wide =
      "C:\\Documents and Settings\\taro\\My Documents\\My Quellanbrook\\"
      "写真\\二〇〇二年\\旅行\\とても長い名前のファイル.jpg";
  const std::string text = "短い行\n" + wide + "\nは他のアプリケーションで使用中です。";
  RunDialog([&] { return Show(text, 0); }, kCaption,
            [&](HWND dialog) {
              HWND control = GetDlgItem(dialog, IDC_MESSAGE_TEXT);
              HDC dc = GetDC(control);
              HGDIOBJ previous = SelectObject(
                  dc, reinterpret_cast<HGDIOBJ>(SendMessageA(control, WM_GETFONT, 0, 0)));
              SIZE size{};
              GetTextExtentPoint32A(dc, wide.data(), static_cast<int>(wide.size()), &size);
              SelectObject(dc, previous);
              ReleaseDC(control, dc);

              const RECT text_rect = ClientRectOf(dialog, IDC_MESSAGE_TEXT);
              EXPECT_EQ(text_rect.right - text_rect.left, size.cx);
              // The template's side margins around the text are kept.
              EXPECT_EQ(text_rect.left, Dlu(dialog, 40, 0, 0, 0).left);
              EXPECT_EQ(Client(dialog).right - text_rect.right,
                        Dlu(dialog, 244, 0, 0, 0).left - Dlu(dialog, 234, 0, 0, 0).left);
              EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_wide_text"));
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
}

TEST(MessageBoxTest, NullCaptionShowsTheToolName) {
  const uint32_t result = RunDialog(
      [] { return ShowMessageBox("同期情報をリセットしました。", nullptr, 0x40, nullptr); },
      "Qbrookツール",
      [](HWND dialog) {
        EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_TEXT), "同期情報をリセットしました。");
        EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_default_caption"));
        Click(dialog, IDC_MESSAGE_BUTTON1);
      });
  EXPECT_EQ(result, box_result::kOk);
}

TEST(MessageBoxTest, OwnerIsTheGivenWindowAndIsDisabledWhileTheBoxIsOpen) {
  HWND owner = CreateWindowExA(0, "STATIC", "owner", WS_POPUP | WS_VISIBLE, 10, 10, 100, 50,
                               nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(owner, nullptr);
  RunDialog([&] { return ShowMessageBox("owned", kCaption, 0, owner); }, kCaption,
            [&](HWND dialog) {
              EXPECT_EQ(GetWindow(dialog, GW_OWNER), owner);
              EXPECT_FALSE(IsWindowEnabled(owner));
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
  EXPECT_TRUE(IsWindowEnabled(owner));
  DestroyWindow(owner);

  RunDialog([] { return ShowMessageBox("no owner", kCaption, 0, nullptr); }, kCaption,
            [](HWND dialog) {
              EXPECT_EQ(GetWindow(dialog, GW_OWNER), nullptr);
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
}

TEST(MessageBoxTest, ReturnsAllOnesWhenTheDialogCannotBeCreated) {
  // A window handle that names no window: the dialog cannot be created under it.
  HWND gone = CreateWindowExA(0, "STATIC", "gone", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                              nullptr, nullptr);
  ASSERT_NE(gone, nullptr);
  DestroyWindow(gone);
  const uint32_t result = test::RunWithoutDialog(
      [&] { return ShowMessageBox("never shown", kCaption, 0, gone); }, kCaption);
  EXPECT_EQ(result, 0xFFFFFFFFu);
}

}  // namespace
}  // namespace qbrk
