// The error reporter end to end: the log step, the composed message in a real box, the status
// button, and codes that show nothing.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "dialogs/message_box_rules.h"
#include "dialogs/report_error.h"
#include "platform/memory/memory_string_table.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;
using test::TextOf;

std::string CaptionFor(ResultCode code) {
  return "Qbrook　エラーNo." + std::to_string(code);
}

class ErrorReporterTest : public testing::Test {
 protected:
  ErrorReporterTest() {
    hooks_.log_error = [this](ResultCode code) {
      logged_.push_back(code);
      ++log_lines_;
    };
    hooks_.open_status_page = [this] { ++status_pages_; };
  }

  uint32_t Report(ResultCode code, const std::string& subject, uint32_t type) {
    return ReportError(strings_, code, subject, type, nullptr, hooks_);
  }

  // Reports `code`, checks the box's text and icon, takes a picture and presses button 1.
  uint32_t ReportAndRead(ResultCode code, const std::string& subject, std::string* text,
                         const std::string& screenshot = "") {
    return RunDialog([&] { return Report(code, subject, 0); }, CaptionFor(code),
                     [&](HWND dialog) {
                       *text = TextOf(dialog, IDC_MESSAGE_TEXT);
                       EXPECT_EQ(reinterpret_cast<HICON>(SendDlgItemMessageA(
                                     dialog, IDC_MESSAGE_ICON, STM_GETICON, 0, 0)),
                                 LoadIconA(nullptr, MAKEINTRESOURCEA(32515)));
                       if (!screenshot.empty()) {
                         EXPECT_TRUE(test::SaveScreenshot(dialog, screenshot));
                       }
                       Click(dialog, IDC_MESSAGE_BUTTON1);
                     });
  }

  MemoryStringTable strings_;
  ErrorReportHooks hooks_;
  std::vector<ResultCode> logged_;
  std::atomic<int> log_lines_{0};  // read by the driving thread
  std::atomic<int> status_pages_{0};
};

TEST_F(ErrorReporterTest, ConnectionFailureOffersTheStatusPage) {
  const uint32_t result =
      RunDialog([&] { return Report(74, "", 0x10); }, CaptionFor(74),
                [&](HWND dialog) {
                  // The line is written before the box appears.
                  EXPECT_EQ(log_lines_, 1);
                  EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_TEXT), strings_.Load(115));
                  EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, IDC_MESSAGE_STATUS)));
                  // The caller asked for the hand; errors always show the exclamation mark.
                  EXPECT_EQ(reinterpret_cast<HICON>(
                                SendDlgItemMessageA(dialog, IDC_MESSAGE_ICON, STM_GETICON, 0, 0)),
                            LoadIconA(nullptr, MAKEINTRESOURCEA(32515)));
                  EXPECT_TRUE(test::SaveScreenshot(dialog, "error_74_cannot_connect"));
                  Click(dialog, IDC_MESSAGE_STATUS);
                  Sleep(100);
                  EXPECT_TRUE(IsWindow(dialog));
                  Click(dialog, IDC_MESSAGE_BUTTON1);
                });
  EXPECT_EQ(result, box_result::kOk);
  EXPECT_EQ(status_pages_, 1);
  EXPECT_EQ(logged_, std::vector<ResultCode>{74});
}

TEST_F(ErrorReporterTest, SubjectsStandOnTheFirstLine) {
  const std::string path = "C:\\My Quellanbrook\\" + std::string(150, 'd') + "\\報告書.doc";
  std::string text;
  ReportAndRead(96, path, &text, "error_96_whole_path");
  EXPECT_EQ(text, path + strings_.Load(126));
  ReportAndRead(72, path, &text, "error_72_shortened_path");
  EXPECT_EQ(text, path.substr(0, 40) + "..." + strings_.Load(118));
  ReportAndRead(131, "", &text, "error_131_root");
  EXPECT_EQ(text, "\\ (ROOT)" + strings_.Load(155));
  ReportAndRead(155, "ignored", &text, "error_155_reset_failed");
  EXPECT_EQ(text, strings_.Load(174));
  ReportAndRead(500, "ignored", &text, "error_500_unknown");
  EXPECT_EQ(text, strings_.Load(122));
  EXPECT_EQ(logged_, (std::vector<ResultCode>{96, 72, 131, 155, 500}));
}

TEST_F(ErrorReporterTest, CallersButtonsAreKept) {
  const uint32_t result =
      RunDialog([&] { return Report(73, "", 0x124); }, CaptionFor(73),
                [&](HWND dialog) {
                  EXPECT_EQ(TextOf(dialog, IDC_MESSAGE_BUTTON1), "はい(&Y)");
                  EXPECT_EQ(LOWORD(SendMessageA(dialog, DM_GETDEFID, 0, 0)), IDC_MESSAGE_BUTTON2);
                  EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, IDC_MESSAGE_STATUS)));
                  EXPECT_TRUE(test::SaveScreenshot(dialog, "error_73_yes_no"));
                  Click(dialog, IDC_MESSAGE_BUTTON2);
                });
  EXPECT_EQ(result, box_result::kNo);
}

TEST_F(ErrorReporterTest, SuccessAndUserStopAreLoggedButNotShown) {
  EXPECT_EQ(test::RunWithoutDialog([&] { return Report(0, "x", 0); }, CaptionFor(0)), 0u);
  EXPECT_EQ(test::RunWithoutDialog([&] { return Report(1, "x", 0); }, CaptionFor(1)), 0u);
  EXPECT_EQ(logged_, (std::vector<ResultCode>{0, 1}));
}

}  // namespace
}  // namespace qbrk
