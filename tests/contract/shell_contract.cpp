// The shell: known folders exist (or are made), module paths are absolute, and a shortcut
// written to a folder is there afterwards for a search to find.
#include "platform/shell.h"

#include <gtest/gtest.h>

#include <string>

#include "common/mbcs.h"
#include "contract_param.h"
#include "platform/file_system.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/fake_shell.h"
#include "platform/memory/memory_file_system.h"

#ifdef _WIN32
#include <windows.h>
// After <windows.h>, which they depend on.
#include <shlobj.h>
#include <shobjidl.h>

#include "platform/win32/com_ptr.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_shell.h"
#endif

namespace qbrk {
namespace {

namespace e = sys_error;

class ShellUnderTest {
 public:
  virtual ~ShellUnderTest() = default;
  virtual Shell& shell() = 0;
  // The file system the shell's folders and links live in.
  virtual FileSystem& files() = 0;
  // An empty folder for links, without a trailing backslash.
  virtual const std::string& scratch() const = 0;
};

class TwinShell final : public ShellUnderTest {
 public:
  TwinShell() { files_.MakeDirectory(scratch_); }
  Shell& shell() override { return shell_; }
  FileSystem& files() override { return files_; }
  const std::string& scratch() const override { return scratch_; }

 private:
  FakeClock clock_;
  MemoryFileSystem files_{clock_};
  FakeShell shell_{files_};
  std::string scratch_ = "C:\\shell-contract";
};

#ifdef _WIN32
class Win32ShellUnderTest final : public ShellUnderTest {
 public:
  Win32ShellUnderTest() {
    files_.TempFolder(&scratch_);
    scratch_ += "qbrk-shell-contract-" + std::to_string(GetCurrentProcessId());
    files_.MakeDirectory(scratch_);
  }
  ~Win32ShellUnderTest() override {
    files_.RemoveFile(scratch_ + "\\Qbrook.LNK");
    files_.RemoveEmptyDirectory(scratch_);
  }
  Shell& shell() override { return shell_; }
  FileSystem& files() override { return files_; }
  const std::string& scratch() const override { return scratch_; }

 private:
  Win32FileSystem files_;
  Win32Shell shell_;
  std::string scratch_;
};
#endif

bool IsAbsolute(const std::string& path) {
  return path.size() > 3 && path[1] == ':' && path[2] == '\\';
}

bool EndsWithIgnoringCase(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         EqualsIgnoringAsciiCase(text.substr(text.size() - end.size()), end);
}

class ShellContract : public testing::TestWithParam<Implementation<ShellUnderTest>> {
 protected:
  void SetUp() override { under_test_ = GetParam().make(); }
  Shell& shell() { return under_test_->shell(); }
  FileSystem& files() { return under_test_->files(); }
  const std::string& scratch() const { return under_test_->scratch(); }

 private:
  std::unique_ptr<ShellUnderTest> under_test_;
};

TEST_P(ShellContract, KnownFoldersExistOnceAskedToBeCreated) {
  for (KnownFolder folder : {KnownFolder::kPersonal, KnownFolder::kLocalAppData,
                             KnownFolder::kStartup, KnownFolder::kDesktop}) {
    std::string path;
    ASSERT_EQ(shell().GetFolderPath(folder, true, &path), e::kSuccess) << static_cast<int>(folder);
    EXPECT_TRUE(IsAbsolute(path)) << path;
    EXPECT_FALSE(EndsWithSingleByte(path, '\\')) << path;
    uint32_t attributes = 0;
    ASSERT_EQ(files().GetAttributes(path, &attributes), e::kSuccess) << path;
    EXPECT_EQ(attributes & file_attr::kDirectory, file_attr::kDirectory) << path;
    // Once it exists, asking without creating gives the same folder.
    std::string again;
    EXPECT_EQ(shell().GetFolderPath(folder, false, &again), e::kSuccess);
    EXPECT_EQ(again, path);
  }
}

TEST_P(ShellContract, ModulePathsAreAbsolute) {
  const std::string program = shell().ProgramPath();
  EXPECT_TRUE(IsAbsolute(program)) << program;
  EXPECT_TRUE(EndsWithIgnoringCase(program, ".exe")) << program;
  const std::string library = shell().LibraryPath();
  EXPECT_TRUE(IsAbsolute(library)) << library;
  EXPECT_TRUE(EndsWithIgnoringCase(library, ".exe") || EndsWithIgnoringCase(library, ".dll"))
      << library;
}

TEST_P(ShellContract, AShortcutIsAFileASearchFinds) {
  const std::string link = scratch() + "\\Qbrook.LNK";
  ShortcutSpec spec;
  spec.target = shell().ProgramPath();
  ASSERT_TRUE(shell().CreateShortcut(link, spec));
  std::unique_ptr<FindHandle> find;
  FindData found;
  ASSERT_EQ(files().FindFirst(link, &find, &found), e::kSuccess);
  EXPECT_EQ(found.name, "Qbrook.LNK");
  EXPECT_GT(found.size, 0u);
  find.reset();
  // An existing link is replaced.
  EXPECT_TRUE(shell().CreateShortcut(link, spec));
  EXPECT_FALSE(shell().CreateShortcut(scratch() + "\\missing\\Qbrook.LNK", spec));
}

QBRK_CONTRACT_FOR(Twin, ShellContract, ShellUnderTest, TwinShell);

#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, ShellContract, ShellUnderTest, Win32ShellUnderTest);

// What the link says can only be read back from a real shell link.
TEST(Win32ShellTest, TheShortcutKeepsTargetDescriptionAndShowCommand) {
  Win32ShellUnderTest under_test;
  const std::string link = under_test.scratch() + "\\Qbrook.LNK";
  ShortcutSpec spec;
  spec.target = under_test.shell().ProgramPath();
  spec.description = "Qbrook";
  spec.show_command = SW_SHOWMINNOACTIVE;
  ASSERT_TRUE(under_test.shell().CreateShortcut(link, spec));

  ComScope com;
  ASSERT_TRUE(com.usable());
  ComPtr<IShellLinkA> loaded;
  ASSERT_HRESULT_SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IShellLinkA, loaded.put_void()));
  HRESULT result = S_OK;
  ComPtr<IPersistFile> file = loaded.As<IPersistFile>(IID_IPersistFile, &result);
  ASSERT_TRUE(file);
  wchar_t wide[MAX_PATH];
  ASSERT_GT(MultiByteToWideChar(CP_ACP, 0, link.c_str(), -1, wide, MAX_PATH), 0);
  ASSERT_HRESULT_SUCCEEDED(file->Load(wide, STGM_READ));
  char text[MAX_PATH] = {};
  ASSERT_HRESULT_SUCCEEDED(loaded->GetPath(text, MAX_PATH, nullptr, 0));
  EXPECT_TRUE(EqualsIgnoringAsciiCase(text, spec.target)) << text;
  ASSERT_HRESULT_SUCCEEDED(loaded->GetDescription(text, MAX_PATH));
  EXPECT_STREQ(text, "Qbrook");
  // Wine's loader does not restore the show command, so it is read from the file: a 32-bit
  // field at offset 0x3C of the link's header.
  uint8_t header[0x40] = {};
  {
    std::unique_ptr<File> saved;
    ASSERT_EQ(under_test.files().OpenFile(link, file_access::kRead, file_share::kRead,
                                          Disposition::kOpenExisting, &saved),
              e::kSuccess);
    uint32_t got = 0;
    ASSERT_EQ(saved->Read(header, sizeof header, &got), e::kSuccess);
    ASSERT_EQ(got, sizeof header);
  }
  EXPECT_EQ(header[0x3C] | header[0x3D] << 8 | header[0x3E] << 16 | header[0x3F] << 24,
            SW_SHOWMINNOACTIVE);
}
#endif

}  // namespace
}  // namespace qbrk
