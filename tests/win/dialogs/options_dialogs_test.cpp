// The options, sign-in and upload unit dialogs, driven as a person would: read, type, click,
// press Escape, and look at what each wrote back into its record.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialogs/dialog_requests.h"
#include "dialogs/options/options_dialog.h"
#include "dialogs/options/upload_unit_dialog.h"
#include "platform/memory/recording_host_window.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"
#include "support/typing.h"

namespace qbrk {
namespace {

using test::Click;
using test::FocusOf;
using test::PressEscape;
using test::RunDialog;
using test::TextOf;
using test::TypeInto;
using Command = RecordingHostWindow::Command;

constexpr char kOptionsTitle[] = "Qbrookツール－オプション";
constexpr char kSignInTitle[] = "Qbrookツール－認証";
constexpr char kProxyTitle[] = "Qbrookツール－プロキシ認証";
constexpr char kUnitTitle[] = "Qbrookツール－アップロード単位の設定";

bool Checked(HWND dialog, int id) {
  return IsDlgButtonChecked(dialog, id) == BST_CHECKED;
}

int Selection(HWND dialog) {
  return static_cast<int>(SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_GETCURSEL, 0, 0));
}

void Select(HWND dialog, int index) {
  SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

std::vector<std::string> ListTexts(HWND dialog) {
  std::vector<std::string> texts;
  const LRESULT count = SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_GETCOUNT, 0, 0);
  for (LRESULT i = 0; i < count; ++i) {
    char text[64] = {};
    SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_GETLBTEXT, static_cast<WPARAM>(i),
                        reinterpret_cast<LPARAM>(text));
    texts.push_back(text);
  }
  return texts;
}

OptionsRecord SampleOptions() {
  OptionsRecord record;
  record.mail_address = "taro@example.jp";
  record.password = "secret";
  record.remember_password = 1;
  record.check_boot = 1;
  record.sync_notify = 0;
  record.finish_close = 1;
  record.animation = 0;
  record.start_with_windows = 1;
  record.put_unit = 0x100000;
  record.use_ssl = 0;
  return record;
}

bool SameOptions(const OptionsRecord& a, const OptionsRecord& b) {
  return a.mail_address == b.mail_address && a.password == b.password &&
         a.remember_password == b.remember_password && a.check_boot == b.check_boot &&
         a.sync_notify == b.sync_notify && a.finish_close == b.finish_close &&
         a.animation == b.animation && a.start_with_windows == b.start_with_windows &&
         a.put_unit == b.put_unit && a.use_ssl == b.use_ssl;
}

// Shows the options dialog on `record`; the host hears the animation notice.
uint32_t ShowOptions(OptionsRecord* record, RecordingHostWindow* host,
                     const std::function<void(HWND)>& drive) {
  return RunDialog([&] { return ShowOptionsDialog(nullptr, record, *host); }, kOptionsTitle, drive);
}

TEST(OptionsDialogTest, ShowsTheRecordAndWritesEveryControlBackOnOk) {
  OptionsRecord record = SampleOptions();
  RecordingHostWindow host;
  const uint32_t ended = ShowOptions(&record, &host, [](HWND dialog) {
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_GROUP), "ユーザー設定");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PROMPT),
              "Quellanbrook申し込み時に登録したメールアドレスと\nパスワードを入力してください。");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL_LABEL), "メールアドレス(&A)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PASSWORD_LABEL), "パスワード(&P)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_REMEMBER), "パスワードを記憶する(&M)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_CHECK_BOOT),
              "起動時に同期が必要なファイルがあるかチェックする(&B)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_SYNC_NOTIFY), "同期開始時に確認メッセージを表示する(&D)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_FINISH_CLOSE),
              "同期完了時に進捗ダイアログボックスを閉じる(&C)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_ANIMATION), "同期を促すアニメーションを行う(&N)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_START_WITH_WINDOWS),
              "Windows起動時にこのツールを起動する(&W)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_USE_SSL),
              "SSLを使用してデータを暗号化する（ONにすると速度が下がります）(&S)");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PUT_UNIT_NOTE),
              "大きなファイルのアップロードに失敗するとき");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PUT_UNIT), "設定(&U)...");
    EXPECT_EQ(TextOf(dialog, IDOK), "OK");
    EXPECT_EQ(TextOf(dialog, IDCANCEL), "キャンセル");
    EXPECT_NE(TextOf(dialog, IDC_OPTIONS_EXAMPLE).find('@'), std::string::npos);
    EXPECT_NE(SendDlgItemMessageA(dialog, IDC_OPTIONS_ICON, STM_GETICON, 0, 0), 0);

    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL), "taro@example.jp");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PASSWORD), "secret");
    EXPECT_EQ(
        std::vector<bool>(
            {Checked(dialog, IDC_OPTIONS_REMEMBER), Checked(dialog, IDC_OPTIONS_CHECK_BOOT),
             Checked(dialog, IDC_OPTIONS_SYNC_NOTIFY), Checked(dialog, IDC_OPTIONS_FINISH_CLOSE),
             Checked(dialog, IDC_OPTIONS_ANIMATION),
             Checked(dialog, IDC_OPTIONS_START_WITH_WINDOWS),
             Checked(dialog, IDC_OPTIONS_USE_SSL)}),
        std::vector<bool>({true, true, false, true, false, true, false}));
    // Address and remembered password known: the dialog manager's first stop, the address.
    EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_OPTIONS_MAIL));
    EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6006"));

    TypeInto(dialog, IDC_OPTIONS_MAIL, "hanako@example.jp");
    TypeInto(dialog, IDC_OPTIONS_PASSWORD, "n3w-pass");
    for (int id : {IDC_OPTIONS_REMEMBER, IDC_OPTIONS_CHECK_BOOT, IDC_OPTIONS_SYNC_NOTIFY,
                   IDC_OPTIONS_FINISH_CLOSE, IDC_OPTIONS_ANIMATION, IDC_OPTIONS_START_WITH_WINDOWS,
                   IDC_OPTIONS_USE_SSL})
      Click(dialog, id);
    Click(dialog, IDOK);
  });
  EXPECT_EQ(ended, static_cast<uint32_t>(IDOK));
  EXPECT_EQ(record.mail_address + "/" + record.password, "hanako@example.jp/n3w-pass");
  EXPECT_EQ(std::vector<uint32_t>({record.remember_password, record.check_boot, record.sync_notify,
                                   record.finish_close, record.animation, record.start_with_windows,
                                   record.use_ssl, record.put_unit}),
            std::vector<uint32_t>({0, 0, 1, 0, 1, 0, 1, 0x100000}));
  EXPECT_EQ(host.commands(), std::vector<Command>({{false, IDC_HOST_ANIMATION_ON, 1}}));
}

TEST(OptionsDialogTest, CancelAndEscapeLeaveTheRecordAndTellTheHostNothing) {
  for (bool escape : {false, true}) {
    SCOPED_TRACE(escape ? "Escape" : "Cancel");
    OptionsRecord record = SampleOptions();
    RecordingHostWindow host;
    const uint32_t ended = ShowOptions(&record, &host, [escape](HWND dialog) {
      TypeInto(dialog, IDC_OPTIONS_MAIL, "someone@example.jp");
      Click(dialog, IDC_OPTIONS_ANIMATION);
      Click(dialog, IDC_OPTIONS_USE_SSL);
      if (escape)
        PressEscape(dialog);
      else
        Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(ended, static_cast<uint32_t>(IDCANCEL));
    EXPECT_TRUE(SameOptions(record, SampleOptions()));
    EXPECT_TRUE(host.commands().empty());
  }
}

TEST(OptionsDialogTest, FocusStartsOnAForgottenPasswordElseOnAMissingAddress) {
  RecordingHostWindow host;
  OptionsRecord forgotten = SampleOptions();
  forgotten.remember_password = 0;
  forgotten.password.clear();
  ShowOptions(&forgotten, &host, [](HWND dialog) {
    EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_OPTIONS_PASSWORD));
    PressEscape(dialog);
  });
  OptionsRecord fresh;  // nothing stored yet
  ShowOptions(&fresh, &host, [](HWND dialog) {
    EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_OPTIONS_MAIL));
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL), "");
    PressEscape(dialog);
  });
}

TEST(OptionsDialogTest, AddressTakes64CharactersAndPassword15) {
  OptionsRecord record = SampleOptions();
  RecordingHostWindow host;
  ShowOptions(&record, &host, [](HWND dialog) {
    TypeInto(dialog, IDC_OPTIONS_MAIL, std::string(70, 'm'));
    TypeInto(dialog, IDC_OPTIONS_PASSWORD, "0123456789abcdefghij");
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL), std::string(64, 'm'));
    EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PASSWORD), "0123456789abcde");
    Click(dialog, IDOK);
  });
  EXPECT_EQ(record.mail_address, std::string(64, 'm'));
  EXPECT_EQ(record.password, "0123456789abcde");
  // Animation stayed off: the host is told to stop.
  EXPECT_EQ(host.commands(), std::vector<Command>({{false, IDC_HOST_ANIMATION_OFF, 0}}));
}

TEST(OptionsDialogTest, UnitButtonTakesTheUnitOnlyFromAnOkOfTheUnitDialog) {
  OptionsRecord record = SampleOptions();
  record.put_unit = 300000;  // not in the list
  RecordingHostWindow host;
  const uint32_t ended = ShowOptions(&record, &host, [](HWND dialog) {
    test::PostClick(dialog, IDC_OPTIONS_PUT_UNIT);
    HWND unit = test::WaitForDialog(kUnitTitle, dialog);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(GetWindow(unit, GW_OWNER), dialog);
    EXPECT_EQ(Selection(unit), 2);
    Select(unit, 0);
    Click(unit, IDCANCEL);
    ASSERT_TRUE(test::WaitUntilClosed(unit));

    test::PostClick(dialog, IDC_OPTIONS_PUT_UNIT);
    unit = test::WaitForDialog(kUnitTitle, dialog);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(Selection(unit), 2);  // the cancelled choice was not kept
    Select(unit, 1);
    Click(unit, IDOK);
    ASSERT_TRUE(test::WaitUntilClosed(unit));

    test::PostClick(dialog, IDC_OPTIONS_PUT_UNIT);
    unit = test::WaitForDialog(kUnitTitle, dialog);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(Selection(unit), 1);  // the dialog keeps the unit chosen with OK
    PressEscape(unit);
    ASSERT_TRUE(test::WaitUntilClosed(unit));
    Click(dialog, IDOK);
  });
  EXPECT_EQ(ended, static_cast<uint32_t>(IDOK));
  EXPECT_EQ(record.put_unit, 0x40000u);
}

TEST(OptionsDialogTest, AChosenUnitIsForgottenWhenTheOptionsAreCancelled) {
  OptionsRecord record = SampleOptions();
  RecordingHostWindow host;
  ShowOptions(&record, &host, [](HWND dialog) {
    test::PostClick(dialog, IDC_OPTIONS_PUT_UNIT);
    HWND unit = test::WaitForDialog(kUnitTitle, dialog);
    ASSERT_NE(unit, nullptr);
    Select(unit, 4);
    Click(unit, IDOK);
    ASSERT_TRUE(test::WaitUntilClosed(unit));
    Click(dialog, IDCANCEL);
  });
  EXPECT_EQ(record.put_unit, 0x100000u);
}

TEST(OptionsDialogTest, WorkerRequestFormAnswersOneOnlyForOk) {
  OptionsRecord record = SampleOptions();
  EXPECT_EQ(RunDialog([&] { return RunOptionsDialog(nullptr, &record); }, kOptionsTitle,
                      [](HWND dialog) {
                        Click(dialog, IDC_OPTIONS_SYNC_NOTIFY);
                        Click(dialog, IDCANCEL);
                      }),
            0u);
  EXPECT_EQ(record.sync_notify, 0u);
  EXPECT_EQ(RunDialog([&] { return RunOptionsDialog(nullptr, &record); }, kOptionsTitle,
                      [](HWND dialog) {
                        Click(dialog, IDC_OPTIONS_SYNC_NOTIFY);
                        Click(dialog, IDOK);
                      }),
            1u);
  EXPECT_EQ(record.sync_notify, 1u);
}

TEST(UploadUnitDialogTest, ListsFiveSizesAndOpensOnTheGivenUnit) {
  struct Case {
    uint32_t unit;
    int selected;
  };
  // The whole mapping is tested natively; here, that the dialog applies it.
  for (const Case& c : {Case{0x20000, 0}, Case{0x100000, 3}, Case{0, 4}, Case{300000, 2}}) {
    SCOPED_TRACE(c.unit);
    uint32_t unit = c.unit;
    const uint32_t ended = RunDialog(
        [&] { return RunUploadUnitDialog(nullptr, &unit) ? 1u : 0u; }, kUnitTitle,
        [&c](HWND dialog) {
          EXPECT_EQ(Selection(dialog), c.selected);
          if (c.unit == 300000) {
            EXPECT_EQ(ListTexts(dialog),
                      std::vector<std::string>({"128KB", "256KB", "512KB", "1MB", "制限なし"}));
            EXPECT_EQ(TextOf(dialog, IDC_PUT_UNIT_LABEL), "データ分割単位(&U)");
            EXPECT_EQ(TextOf(dialog, IDC_PUT_UNIT_EXPLANATION),
                      "プロキシサーバなどの設定で、1回にアップロードできる\n"
                      "データサイズに上限が設定されていることがあります。\n"
                      "このような場合、データを分割してアップロードする必要が\n"
                      "あります。データ分割単位を設定してください。");
            EXPECT_EQ(TextOf(dialog, IDOK), "OK");
            EXPECT_EQ(TextOf(dialog, IDCANCEL), "キャンセル");
            EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6035"));
          }
          PressEscape(dialog);
        });
    EXPECT_EQ(ended, 0u);
    EXPECT_EQ(unit, c.unit);
  }
}

TEST(UploadUnitDialogTest, OkStoresTheChosenEntryAndCancelKeepsTheUnit) {
  const uint32_t values[] = {0x20000, 0x40000, 0x80000, 0x100000, 0};
  for (int index = 0; index < 5; ++index) {
    SCOPED_TRACE(index);
    uint32_t unit = 300000;
    EXPECT_EQ(RunDialog([&] { return RunUploadUnitDialog(nullptr, &unit) ? 1u : 0u; }, kUnitTitle,
                        [index](HWND dialog) {
                          Select(dialog, index);
                          Click(dialog, IDOK);
                        }),
              1u);
    EXPECT_EQ(unit, values[index]);
  }
  uint32_t unit = 0x20000;
  EXPECT_EQ(RunDialog([&] { return RunUploadUnitDialog(nullptr, &unit) ? 1u : 0u; }, kUnitTitle,
                      [](HWND dialog) {
                        Select(dialog, 4);
                        Click(dialog, IDCANCEL);
                      }),
            0u);
  EXPECT_EQ(unit, 0x20000u);
}

uint32_t ShowSignIn(SignInRecord* record, const std::string& title,
                    const std::function<void(HWND)>& drive) {
  return RunDialog([&] { return RunSignInDialog(nullptr, record); }, title, drive);
}

TEST(SignInDialogTest, AsksForTheServiceAccountAndWritesItBackOnOk) {
  SignInRecord record{"taro@example.jp", "", 1, 0};
  const uint32_t answer = ShowSignIn(&record, kSignInTitle, [](HWND dialog) {
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_PROMPT), "メールアドレスとパスワードを入力してください｡");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_USER_LABEL), "メールアドレス(&A)");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_PASSWORD_LABEL), "パスワード(&P)");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_REMEMBER), "パスワードを記憶する(&M)");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_OK), "OK");
    EXPECT_EQ(TextOf(dialog, IDCANCEL), "キャンセル");
    EXPECT_NE(SendDlgItemMessageA(dialog, IDC_SIGN_IN_ICON, STM_GETICON, 0, 0), 0);
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_USER), "taro@example.jp");
    EXPECT_TRUE(Checked(dialog, IDC_SIGN_IN_REMEMBER));
    EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_SIGN_IN_USER));
    TypeInto(dialog, IDC_SIGN_IN_PASSWORD, "0123456789abcdefghij");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_PASSWORD), "0123456789abcde");
    EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6029"));
    Click(dialog, IDC_SIGN_IN_REMEMBER);
    Click(dialog, IDC_SIGN_IN_OK);
  });
  EXPECT_EQ(answer, 1u);
  EXPECT_EQ(record.user + "/" + record.password, "taro@example.jp/0123456789abcde");
  EXPECT_EQ(record.remember, 0u);
  EXPECT_EQ(record.proxy, 0u);
}

TEST(SignInDialogTest, ProxyFormAsksForTheProxyUserUnderItsOwnTitle) {
  SignInRecord record{"", "", 0, 1};
  const uint32_t answer = ShowSignIn(&record, kProxyTitle, [](HWND dialog) {
    EXPECT_EQ(TextOf(dialog), kProxyTitle);
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_PROMPT), "ユーザー名とパスワードを入力してください｡");
    EXPECT_EQ(TextOf(dialog, IDC_SIGN_IN_USER_LABEL), "ユーザー名(&A)");
    EXPECT_FALSE(Checked(dialog, IDC_SIGN_IN_REMEMBER));
    EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_SIGN_IN_PASSWORD));
    TypeInto(dialog, IDC_SIGN_IN_USER, std::string(80, 'p'));
    TypeInto(dialog, IDC_SIGN_IN_PASSWORD, "proxy-pw");
    EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6029_proxy"));
    Click(dialog, IDC_SIGN_IN_REMEMBER);
    Click(dialog, IDC_SIGN_IN_OK);
  });
  EXPECT_EQ(answer, 1u);
  EXPECT_EQ(record.user, std::string(64, 'p'));
  EXPECT_EQ(record.password, "proxy-pw");
  EXPECT_EQ(record.remember, 1u);
  EXPECT_EQ(record.proxy, 1u);
}

TEST(SignInDialogTest, CancelOrEscapeAnswersZeroAndKeepsTheRecord) {
  for (bool escape : {false, true}) {
    SCOPED_TRACE(escape ? "Escape" : "Cancel");
    SignInRecord record{"", "", 1, 0};
    const uint32_t answer = ShowSignIn(&record, kSignInTitle, [escape](HWND dialog) {
      EXPECT_EQ(FocusOf(dialog), GetDlgItem(dialog, IDC_SIGN_IN_USER));  // no address yet
      TypeInto(dialog, IDC_SIGN_IN_USER, "x@example.jp");
      TypeInto(dialog, IDC_SIGN_IN_PASSWORD, "pw");
      Click(dialog, IDC_SIGN_IN_REMEMBER);
      if (escape)
        PressEscape(dialog);
      else
        Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(answer, 0u);
    EXPECT_EQ(record.user + record.password, "");
    EXPECT_EQ(record.remember, 1u);
  }
}

}  // namespace
}  // namespace qbrk
