// The mirror folder exports and the mirror folder dialog, against the registry and files of
// the Wine prefix.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "dll_fixture.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk::test {
namespace {

using GetPath = UINT(WINAPI*)(LPSTR);
using GetPathEx = UINT(WINAPI*)(LPSTR, UINT);

constexpr char kMirrorTitle[] = "Qbrookツール－同期対象フォルダ変更";
constexpr char kError96[] = "Qbrook　エラーNo.96";

class MirrorFolderExportsTest : public DllTest {
 protected:
  void SetUp() override {
    DllTest::SetUp();
    get_ = Export<GetPath>("qbrkGetMirrorFolderPath");
    get_ex_ = Export<GetPathEx>("qbrkGetMirrorFolderPathEx");
  }
  void TearDown() override {
    RemoveFolder(Documents() + "\\Chosen");
    DllTest::TearDown();
  }
  GetPath get_ = nullptr;
  GetPathEx get_ex_ = nullptr;
};

TEST_F(MirrorFolderExportsTest, FirstCallMakesTheDefaultFolderAndAVanishedOneIsNotMadeAgain) {
  EXPECT_EQ(get_(nullptr), 0u);
  EXPECT_EQ(get_ex_(nullptr, 1), 0u);
  EXPECT_FALSE(Exists(DefaultMirror())) << "a null buffer resolves nothing";

  char buffer[260] = {};
  ASSERT_EQ(get_(buffer), 1u);
  EXPECT_EQ(std::string(buffer), DefaultMirror());
  EXPECT_TRUE(GetFileAttributesA(buffer) & FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(StoredMirror(), DefaultMirror());
  std::memset(buffer, 0, sizeof buffer);
  ASSERT_EQ(get_ex_(buffer, 0), 1u);
  EXPECT_EQ(std::string(buffer), DefaultMirror());

  RemoveFolder(DefaultMirror());
  EXPECT_EQ(get_(buffer), 0u);
  EXPECT_EQ(get_ex_(buffer, 0), 0u);
  EXPECT_FALSE(Exists(DefaultMirror()));
  EXPECT_EQ(StoredMirror(), DefaultMirror());
}

TEST_F(MirrorFolderExportsTest, NothingPastTheHostsBufferIsWritten) {
  // A stored path longer than a Windows path is damage: refused, and never copied.
  ASSERT_TRUE(SetSettingString("Mirror", "C:\\" + std::string(290, 'a')));
  char buffer[400];
  std::memset(buffer, 'x', sizeof buffer);
  EXPECT_EQ(get_ex_(buffer, 0), 0u);
  EXPECT_EQ(std::string(buffer + 260, 140), std::string(140, 'x'));
  EXPECT_FALSE(Exists(DefaultMirror()));
}

TEST_F(MirrorFolderExportsTest, RepairShowsError96ThenLetsTheUserChooseAnotherFolder) {
  const std::string gone = Documents() + "\\Gone";
  const std::string chosen = Documents() + "\\Chosen";
  ASSERT_TRUE(SetSettingString("Mirror", gone));
  char buffer[260] = {};
  const uint32_t cancelled =
      RunDialog([&] { return get_ex_(buffer, 1); }, kError96,
                [&](HWND error) {
                  EXPECT_EQ(TextOf(error, IDC_MESSAGE_TEXT).rfind(gone, 0), 0u);
                  Click(error, IDC_MESSAGE_BUTTON1);
                  HWND dialog = WaitForDialog(kMirrorTitle);
                  ASSERT_NE(dialog, nullptr);
                  Click(dialog, IDCANCEL);
                });
  EXPECT_EQ(cancelled, 0u);
  EXPECT_FALSE(Exists(gone));

  const uint32_t repaired = RunDialog([&] { return get_ex_(buffer, 1); }, kError96,
                                      [&](HWND error) {
                                        Click(error, IDC_MESSAGE_BUTTON1);
                                        HWND dialog = WaitForDialog(kMirrorTitle);
                                        ASSERT_NE(dialog, nullptr);
                                        EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), gone);
                                        SetDlgItemTextA(dialog, IDC_MIRROR_PATH, chosen.c_str());
                                        Click(dialog, IDOK);
                                      });
  EXPECT_EQ(repaired, 1u);
  EXPECT_EQ(std::string(buffer), chosen);
  EXPECT_EQ(StoredMirror(), chosen);
  EXPECT_FALSE(Exists(gone));
}

// What OK decides is tested natively (mirror_folder_change_test); here the dialog's controls.
TEST_F(MirrorFolderExportsTest, ChangeCommandReportsAnUnusableFolderAndStoresTheOneChosenNext) {
  const auto change = Export<UINT(WINAPI*)(UINT_PTR, HWND)>("qbrkChangeLocalMirrorPath");
  const uint32_t changed =
      RunDialog([&] { return change(0, nullptr); }, kMirrorTitle,
                [&](HWND dialog) {
                  // Copying comes with the maintenance commands; the box promises nothing yet.
                  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDC_MIRROR_COPY)));
                  EXPECT_TRUE(SaveScreenshot(dialog, "dialog_6030"));

                  PostClick(dialog, IDC_MIRROR_BROWSE);
                  HWND browser = WaitForDialog("", dialog);
                  ASSERT_NE(browser, nullptr);
                  ASSERT_TRUE(SelectInBrowser(browser, Documents()));
                  Click(browser, IDOK);
                  EXPECT_TRUE(WaitUntilClosed(browser));
                  EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), Documents());

                  SetDlgItemTextA(dialog, IDC_MIRROR_PATH, (Documents() + "\\No\\Such").c_str());
                  PostClick(dialog, IDOK);
                  HWND error = WaitForDialog("Qbrook　エラーNo.95");
                  ASSERT_NE(error, nullptr);
                  EXPECT_EQ(GetWindow(error, GW_OWNER), dialog);
                  Click(error, IDC_MESSAGE_BUTTON1);
                  EXPECT_TRUE(WaitUntilClosed(error));

                  Click(dialog, IDC_MIRROR_DEFAULT);
                  EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), DefaultMirror());
                  Click(dialog, IDOK);
                });
  EXPECT_EQ(changed, 1u);
  EXPECT_EQ(StoredMirror(), DefaultMirror());
  EXPECT_TRUE(Exists(DefaultMirror()));
  EXPECT_FALSE(Exists(Documents() + "\\No"));
}

}  // namespace
}  // namespace qbrk::test
