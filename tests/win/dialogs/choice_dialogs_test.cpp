// The choice dialogs and the start-up and synchronize-first questions, driven as a person
// would: their texts, the answer of every button with and without the apply-to-all box,
// Escape, and where the focus starts.
#include "dialogs/choice_dialogs.h"

#include <gtest/gtest.h>

#include <string>

#include "dialogs/startup_confirmation.h"
#include "dialogs/sync_first_confirmation.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;
using test::TextOf;

constexpr char kChoiceTitle[] = "Qbrookツール－ユーザー選択";

// The texts of a dialog's controls other than icons, in template order.
std::string AllTexts(HWND dialog) {
  std::string texts;
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    // An icon's text is its resource ordinal.
    char window_class[16] = {};
    GetClassNameA(child, window_class, sizeof window_class);
    if (lstrcmpiA(window_class, "Static") == 0 &&
        (GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON)
      continue;
    texts += TextOf(child) + "|";
  }
  return texts;
}

struct Layout {
  ChoiceQuestion question;
  int name_label;
  int all_box;
  int first_button;
  uint32_t first_answer;
  int second_button;
  uint32_t second_answer;
  int initial_focus;
  const char* texts;  // every control's text, in template order, the name as "R&&D.txt"
  const char* screenshot;
};

const Layout kLayouts[] = {
    {ChoiceQuestion::kConflict, IDC_CHOICE_CONFLICT_NAME, IDC_CHOICE_CONFLICT_ALL,
     IDC_CHOICE_CONFLICT_UPLOAD, answer::kUpload, IDC_CHOICE_CONFLICT_DOWNLOAD, answer::kDownload,
     IDCANCEL,
     "Quellanbrook上のファイル|R&&D.txt|が、別の場所からも変更されています。|"
     "お使いのパソコンへダウンロードするか|Quellanbrookへアップロードするか選択してください。|"
     "選択が必要なファイルすべてを対象とする(&A)|アップロード(&U)|ダウンロード(&D)|キャンセル|",
     "dialog_6003"},
    {ChoiceQuestion::kDeletedLocally, IDC_CHOICE_LOCAL_NAME, IDC_CHOICE_ALL,
     IDC_CHOICE_DOWNLOAD_AGAIN, answer::kDownloadAgain, IDC_CHOICE_DELETE, answer::kDeleteOnServer,
     IDC_CHOICE_DELETE,
     "R&&D.txt|が、お使いのパソコンから削除されています。|"
     "Quellanbrookからも削除するかお使いのパソコンに|ダウンロードするか選択してください。|"
     "選択が必要なファイルすべてを対象とする(&A)|削除(&R)|ダウンロード(&D)|キャンセル|",
     "dialog_6009"},
    {ChoiceQuestion::kDeletedOnServer, IDC_CHOICE_SERVER_NAME, IDC_CHOICE_ALL,
     IDC_CHOICE_UPLOAD_AGAIN, answer::kUploadAgain, IDC_CHOICE_DELETE, answer::kDeleteLocally,
     IDC_CHOICE_DELETE,
     "Quellanbrook上のファイルまたはフォルダ|R&&D.txt|が別の場所から削除されています。|"
     "お使いのパソコンからも削除するかQuellanbrookに|アップロードするか選択してください。|"
     "選択が必要なファイルすべてを対象とする(&A)|削除(&R)|アップロード(&U)|キャンセル|",
     "dialog_6008"},
};

uint32_t Ask(const Layout& layout, const std::string& name, uint32_t preset,
             const std::function<void(HWND)>& drive) {
  uint32_t answer = preset;
  RunDialog(
      [&] {
        RunChoiceDialog(nullptr, layout.question, name, &answer);
        return 0u;
      },
      kChoiceTitle, drive);
  return answer;
}

TEST(ChoiceDialogTest, ShowTheirTextsWithTheNameLiterallyAndFocusTheSafeButton) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.screenshot);
    Ask(layout, "R&D.txt", 0, [&](HWND dialog) {
      EXPECT_EQ(AllTexts(dialog), layout.texts);
      // The label keeps prefix processing, so the doubled ampersand shows as one.
      EXPECT_FALSE(GetWindowLongA(GetDlgItem(dialog, layout.name_label), GWL_STYLE) & SS_NOPREFIX);
      EXPECT_EQ(test::FocusOf(dialog), GetDlgItem(dialog, layout.initial_focus));
      EXPECT_TRUE(test::SaveScreenshot(dialog, layout.screenshot));
      Click(dialog, IDCANCEL);
    });
  }
}

TEST(ChoiceDialogTest, LongNamesAreCutAtFortyBytes) {
  const Layout& layout = kLayouts[0];
  Ask(layout, std::string(40, 'a'), 0, [&](HWND dialog) {
    EXPECT_EQ(TextOf(dialog, layout.name_label), std::string(40, 'a'));
    Click(dialog, IDCANCEL);
  });
  // "報" is two bytes: starting at byte 40 it would be split, so it goes whole.
  Ask(layout, std::string(39, 'b') + "報告書.txt", 0, [&](HWND dialog) {
    EXPECT_EQ(TextOf(dialog, layout.name_label), std::string(39, 'b') + "...");
    Click(dialog, IDCANCEL);
  });
}

TEST(ChoiceDialogTest, EachButtonAnswersForOneFileOrWithTheBoxForAll) {
  for (const Layout& layout : kLayouts) {
    for (bool all : {false, true}) {
      for (bool first : {true, false}) {
        SCOPED_TRACE(testing::Message() << layout.screenshot << (all ? " all" : " one")
                                        << (first ? " first" : " second"));
        const uint32_t answer = Ask(layout, "file.txt", 0, [&](HWND dialog) {
          if (all) Click(dialog, layout.all_box);
          Click(dialog, first ? layout.first_button : layout.second_button);
        });
        const uint32_t one = first ? layout.first_answer : layout.second_answer;
        EXPECT_EQ(answer, all ? one + 1 : one);
      }
    }
  }
}

TEST(ChoiceDialogTest, CancelAndEscapeLeaveTheAnswerExceptInTheServerDeletionDialog) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.screenshot);
    const bool writes_zero = layout.question == ChoiceQuestion::kDeletedOnServer;
    // A ticked box changes nothing without an action.
    EXPECT_EQ(Ask(layout, "x", 77,
                  [&](HWND dialog) {
                    Click(dialog, layout.all_box);
                    Click(dialog, IDCANCEL);
                  }),
              writes_zero ? 0u : 77u);
    EXPECT_EQ(Ask(layout, "x", 77, [](HWND dialog) { test::PressEscape(dialog); }),
              writes_zero ? 0u : 77u);
  }
}

TEST(ChoiceDialogTest, TheModalPromptAsksWithTheDialogAndStartsFromCancel) {
  ModalChoicePrompt prompt(nullptr);
  uint32_t answer = 99;
  RunDialog(
      [&] {
        answer = prompt.Ask(ChoiceQuestion::kConflict, "a.txt");
        return 0u;
      },
      kChoiceTitle,
      [](HWND dialog) {
        EXPECT_EQ(TextOf(dialog, IDC_CHOICE_CONFLICT_NAME), "a.txt");
        Click(dialog, IDC_CHOICE_CONFLICT_DOWNLOAD);
      });
  EXPECT_EQ(answer, answer::kDownload);
  RunDialog(
      [&] {
        answer = prompt.Ask(ChoiceQuestion::kDeletedLocally, "a.txt");
        return 0u;
      },
      kChoiceTitle, [](HWND dialog) { test::PressEscape(dialog); });
  EXPECT_EQ(answer, answer::kCancel);
}

constexpr char kStartUpTitle[] = "Qbrookツール－起動時チェック";

TEST(StartUpConfirmationTest, TheBoxShowsAndSetsTheStartUpCheck) {
  const struct {
    uint32_t check_boot;
    bool tick;  // click the box once
    int button;
    bool yes;
    uint32_t stored;
  } cases[] = {
      {1, false, IDOK, true, 1},     {1, true, IDOK, true, 0}, {0, false, IDCANCEL, false, 0},
      {0, true, IDCANCEL, false, 1}, {1, true, 0, false, 0},  // Escape counts as no and still keeps
                                                              // the box
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.check_boot << c.tick << c.button);
    uint32_t check_boot = c.check_boot;
    const uint32_t yes = RunDialog(
        [&] { return RunStartUpConfirmation(nullptr, &check_boot) ? 1u : 0u; }, kStartUpTitle,
        [&](HWND dialog) {
          EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_STARTUP_DONT_SHOW),
                    c.check_boot == 0 ? BST_CHECKED : BST_UNCHECKED);
          if (c.tick) Click(dialog, IDC_STARTUP_DONT_SHOW);
          if (c.button)
            Click(dialog, c.button);
          else
            test::PressEscape(dialog);
        });
    EXPECT_EQ(yes != 0, c.yes);
    EXPECT_EQ(check_boot, c.stored);
  }
}

TEST(StartUpConfirmationTest, ShowsItsTexts) {
  uint32_t check_boot = 1;
  RunDialog([&] { return RunStartUpConfirmation(nullptr, &check_boot) ? 1u : 0u; }, kStartUpTitle,
            [](HWND dialog) {
              EXPECT_EQ(
                  AllTexts(dialog),
                  "ファイルが更新されています。Quellanbrookと同期しますか？|"
                  "次回起動時に表示しない(&S)|※起動時チェックは【オプション】で指定できます。|"
                  "はい(&Y)|いいえ(&N)|");
              EXPECT_EQ(test::FocusOf(dialog), GetDlgItem(dialog, IDOK));
              EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6005"));
              Click(dialog, IDCANCEL);
            });
}

TEST(SyncFirstConfirmationTest, SynchronizesOnlyOnItsFirstButton) {
  constexpr char kTitle[] = "Qbrookツール－同期確認";
  const auto show = [] { return ConfirmSynchronizeFirst(nullptr) ? 1u : 0u; };
  EXPECT_EQ(RunDialog(show, kTitle,
                      [](HWND dialog) {
                        EXPECT_EQ(AllTexts(dialog),
                                  "Quellanbrookとお使いのパソコンとで|同期をとる必要があります。|"
                                  "同期をとる(&S)|キャンセル|");
                        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6024"));
                        Click(dialog, IDOK);
                      }),
            1u);
  EXPECT_EQ(RunDialog(show, kTitle, [](HWND dialog) { Click(dialog, IDCANCEL); }), 0u);
  EXPECT_EQ(RunDialog(show, kTitle, [](HWND dialog) { test::PressEscape(dialog); }), 0u);
}

}  // namespace
}  // namespace qbrk
