// The message box as a person meets it: real dialogs under Xvfb, driven from a second thread.
// What each layout should show comes from the rules (tested on their own natively); here the
// question is whether the dialog does what they say.
#include "dialogs/message_box.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

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

bool Visible(HWND dialog, int id) {
  return IsWindowVisible(GetDlgItem(dialog, id)) != FALSE;
}

// Dialog units to pixels for this dialog's font.
RECT Dlu(HWND dialog, int left, int top, int right, int bottom) {
  RECT rect{left, top, right, bottom};
  MapDialogRect(dialog, &rect);
  return rect;
}

bool StaysOpen(HWND dialog) {
  Sleep(200);
  return IsWindow(dialog) != FALSE;
}

uint32_t Show(const std::string& text, uint32_t type, const StatusPageAction& action = {}) {
  return ShowMessageBox(text.c_str(), kCaption, type, nullptr, action);
}

TEST(MessageBoxTest, EachLayoutShowsItsButtonsAndReturnsThePressedOnesResult) {
  for (uint32_t layout = 0; layout <= 5; ++layout) {
    const BoxLayoutRule rule = LayoutRuleFor(layout);
    for (int pressed = 0; pressed < 3 && rule.buttons[pressed].visible; ++pressed) {
      SCOPED_TRACE(testing::Message() << "layout " << layout << " button " << pressed + 1);
      const uint32_t result =
          RunDialog([&] { return Show("ボタンの配置を確認します。", layout); }, kCaption,
                    [&](HWND dialog) {
                      for (int i = 0; i < 3; ++i) {
                        EXPECT_EQ(Visible(dialog, kButton[i]), rule.buttons[i].visible) << i + 1;
                        if (rule.buttons[i].visible) {
                          EXPECT_EQ(TextOf(dialog, kButton[i]), rule.buttons[i].caption) << i + 1;
                        }
                      }
                      EXPECT_FALSE(Visible(dialog, IDC_MESSAGE_STATUS));
                      if (pressed == 0) {
                        EXPECT_TRUE(test::SaveScreenshot(
                            dialog, "message_box_layout" + std::to_string(layout)));
                      }
                      Click(dialog, kButton[pressed]);
                    });
      EXPECT_EQ(result, rule.buttons[pressed].result);
    }
  }
}

TEST(MessageBoxTest, CloseNeverEndsTheBoxAndEscapeOnlyInLayoutsTwoAndThree) {
  for (uint32_t layout = 0; layout <= 5; ++layout) {
    SCOPED_TRACE(testing::Message() << "layout " << layout);
    const BoxLayoutRule rule = LayoutRuleFor(layout);
    const uint32_t result = RunDialog([&] { return Show("閉じられません。", layout); }, kCaption,
                                      [&](HWND dialog) {
                                        const UINT close = GetMenuState(
                                            GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND);
                                        EXPECT_NE(close, static_cast<UINT>(-1));
                                        EXPECT_TRUE(close & MF_GRAYED);
                                        // The dialog manager would turn a close into the cancel
                                        // command of layouts 2 and 3.
                                        SendMessageA(dialog, WM_CLOSE, 0, 0);
                                        SendMessageA(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
                                        EXPECT_TRUE(StaysOpen(dialog));
                                        test::PressEscape(dialog);
                                        if (!rule.cancel_command_ends) {
                                          EXPECT_TRUE(StaysOpen(dialog));
                                          Click(dialog, IDC_MESSAGE_BUTTON1);
                                        }
                                      });
    const uint32_t expected = layout == 2   ? box_result::kIgnore
                              : layout == 3 ? box_result::kCancel
                                            : rule.buttons[0].result;
    EXPECT_EQ(result, expected);
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
                    for (int i = 0; i < 3; ++i) {
                      EXPECT_TRUE(Visible(dialog, kButton[i])) << i + 1;
                      Click(dialog, kButton[i]);
                    }
                    if (layout == 6) {
                      EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_layout6"));
                    }
                    EXPECT_TRUE(StaysOpen(dialog));
                    test::ForceEndDialog(dialog);
                  });
    // Ended from outside: the box reports its initial result.
    EXPECT_EQ(result, box_result::kAbort) << layout;
  }
}

TEST(MessageBoxTest, StatusButtonOpensThePageAndTheBoxStaysOpen) {
  std::atomic<int> opened{0};
  const uint32_t result = RunDialog(
      [&] { return Show("Quellanbrookに接続できません。", 0x4001, [&] { ++opened; }); }, kCaption,
      [&](HWND dialog) {
        EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_STATUS), "運用状況の確認(&W)");
        EXPECT_TRUE(test::SaveScreenshot(dialog, "message_box_status_button"));
        Click(dialog, IDC_MESSAGE_STATUS);
        EXPECT_TRUE(StaysOpen(dialog));
        EXPECT_EQ(opened, 1);
        Click(dialog, IDC_MESSAGE_BUTTON2);
      });
  EXPECT_EQ(result, box_result::kCancel);

  // Without an action of its own the box uses the process-wide one.
  SetStatusPageAction([&] { opened += 10; });
  RunDialog([] { return ShowMessageBox("status", kCaption, 0x4000, nullptr); }, kCaption,
            [](HWND dialog) {
              Click(dialog, IDC_MESSAGE_STATUS);
              Click(dialog, IDC_MESSAGE_BUTTON1);
            });
  SetStatusPageAction({});
  EXPECT_EQ(opened, 11);
}

TEST(MessageBoxTest, DefaultButtonFocusAndIconFollowTheFlags) {
  const struct {
    uint32_t type;
    int default_id;
    int system_icon;
    const char* screenshot;
  } cases[] = {
      {0x013, IDC_MESSAGE_BUTTON1, 32513, "message_box_icon_hand"},
      {0x123, IDC_MESSAGE_BUTTON2, 32514, "message_box_icon_question"},
      {0x243, IDCANCEL, 32516, "message_box_icon_asterisk"},
      {0x4333, IDC_MESSAGE_STATUS, 32515, "message_box_icon_exclamation"},
      {0x200, IDC_MESSAGE_BUTTON1, 32515, nullptr},  // hidden third button, no icon bits
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << "type 0x" << c.type);
    RunDialog([&] { return Show("既定のボタンとアイコンを確認します。", c.type); }, kCaption,
              [&](HWND dialog) {
                const LRESULT default_id = SendMessageA(dialog, DM_GETDEFID, 0, 0);
                EXPECT_EQ(HIWORD(default_id), DC_HASDEFID);
                EXPECT_EQ(LOWORD(default_id), c.default_id);
                EXPECT_EQ(test::FocusOf(dialog), GetDlgItem(dialog, c.default_id));
                EXPECT_EQ(reinterpret_cast<HICON>(
                              SendDlgItemMessageA(dialog, IDC_MESSAGE_ICON, STM_GETICON, 0, 0)),
                          LoadIconA(nullptr, MAKEINTRESOURCEA(c.system_icon)));
                if (c.screenshot) {
                  EXPECT_TRUE(test::SaveScreenshot(dialog, c.screenshot));
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
              RECT client{};
              GetClientRect(dialog, &client);
              EXPECT_EQ(client.bottom, Dlu(dialog, 0, 0, 0, 60).bottom + 4 * line);
              const RECT text_rect = ClientRectOf(dialog, IDC_MESSAGE_TEXT);
              EXPECT_EQ(text_rect.bottom - text_rect.top, 5 * line);

              // One row below the text, in order 1, 2, 3, status, with the design gap between them
              // and equal margins at the sides.
              for (int i = 0; i < 4; ++i) {
                const RECT button = ClientRectOf(dialog, kButton[i]);
                EXPECT_EQ(button.top, Dlu(dialog, 0, 38, 0, 0).top + 4 * line) << i + 1;
                if (i > 0) {
                  EXPECT_EQ(button.left - ClientRectOf(dialog, kButton[i - 1]).right,
                            Dlu(dialog, 4, 0, 0, 0).left)
                      << i + 1;
                }
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
              RECT client{};
              GetClientRect(dialog, &client);
              // The template's margins: 40 units left of the text, 10 to its right.
              EXPECT_EQ(text_rect.left, Dlu(dialog, 40, 0, 0, 0).left);
              EXPECT_EQ(client.right - text_rect.right,
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

TEST(MessageBoxTest, OwnerIsDisabledWhileTheBoxIsOpenAndAGoneOwnerMeansNoBox) {
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

  // The handle now names no window: the dialog cannot be created under it.
  const uint32_t result = test::RunWithoutDialog(
      [&] { return ShowMessageBox("never shown", kCaption, 0, owner); }, kCaption);
  EXPECT_EQ(result, 0xFFFFFFFFu);
}

}  // namespace
}  // namespace qbrk
