// The host window: found by its class on every call, false when missing, and every command
// reaches it with the way it was delivered (sent or posted).
#include "platform/host_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "contract_param.h"
#include "platform/memory/recording_host_window.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/win32/win32_host_window.h"
#endif

namespace qbrk {
namespace {

using Command = RecordingHostWindow::Command;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class HostWindowUnderTest {
 public:
  virtual ~HostWindowUnderTest() = default;
  virtual HostWindow& host() = 0;
  // Creates or destroys the tray program's window.
  virtual void SetPresent(bool present) = 0;
  // Every command the window has handled, once its queue has been worked off.
  virtual std::vector<Command> Received() = 0;
};

class TwinHostWindow final : public HostWindowUnderTest {
 public:
  TwinHostWindow() { host_.set_present(false); }
  HostWindow& host() override { return host_; }
  void SetPresent(bool present) override { host_.set_present(present); }
  std::vector<Command> Received() override { return host_.commands(); }

 private:
  RecordingHostWindow host_;
};

#ifdef _WIN32
// A hidden window of class "HvqbrkCls" on the test's thread. The thread moves to a desktop
// of its own first, so that host windows of other programs running at the same time (the
// host stand-in in other tests) are neither found nor disturbed.
class Win32HostWindowUnderTest final : public HostWindowUnderTest {
 public:
  Win32HostWindowUnderTest() {
    original_desktop_ = GetThreadDesktop(GetCurrentThreadId());
    const std::string name = "qbrk-host-contract-" + std::to_string(GetCurrentProcessId());
    desktop_ = CreateDesktopA(name.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
    on_own_desktop_ = desktop_ && SetThreadDesktop(desktop_);
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = &WindowProc;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "HvqbrkCls";
    RegisterClassA(&window_class);
  }

  ~Win32HostWindowUnderTest() override {
    SetPresent(false);
    UnregisterClassA("HvqbrkCls", GetModuleHandleA(nullptr));
    if (on_own_desktop_) SetThreadDesktop(original_desktop_);
    if (desktop_) CloseDesktop(desktop_);
  }

  bool on_own_desktop() const { return on_own_desktop_; }
  HostWindow& host() override { return host_; }

  void SetPresent(bool present) override {
    if (present && !window_) {
      window_ = CreateWindowA("HvqbrkCls", "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                              GetModuleHandleA(nullptr), nullptr);
      ASSERT_NE(window_, nullptr) << "creating a window needs an X display (DISPLAY)";
      SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    } else if (!present && window_) {
      DestroyWindow(window_);
      window_ = nullptr;
    }
  }

  std::vector<Command> Received() override {
    // Whatever arrives while the queue is worked off was posted; the rest was sent.
    pumping_ = true;
    MSG message;
    for (int i = 0; i < 1000 && window_ && PeekMessageA(&message, window_, 0, 0, PM_REMOVE); ++i)
      DispatchMessageA(&message);
    pumping_ = false;
    return received_;
  }

  // The commands handled so far, without working off the queue.
  const std::vector<Command>& handled() const { return received_; }

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* self =
        reinterpret_cast<Win32HostWindowUnderTest*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (message == WM_COMMAND && self) {
      self->received_.push_back(
          {!self->pumping_, static_cast<uint32_t>(wparam), static_cast<intptr_t>(lparam)});
      return 0;
    }
    return DefWindowProcA(window, message, wparam, lparam);
  }

  Win32HostWindow host_;
  HDESK original_desktop_ = nullptr;
  HDESK desktop_ = nullptr;
  bool on_own_desktop_ = false;
  HWND window_ = nullptr;
  bool pumping_ = false;
  std::vector<Command> received_;
};
#endif

class HostWindowContract : public testing::TestWithParam<Implementation<HostWindowUnderTest>> {
 protected:
  void SetUp() override { under_test_ = GetParam().make(); }
  HostWindowUnderTest& window() { return *under_test_; }
  HostWindow& host() { return under_test_->host(); }

 private:
  std::unique_ptr<HostWindowUnderTest> under_test_;
};

TEST_P(HostWindowContract, WithoutTheWindowNothingIsDelivered) {
  EXPECT_FALSE(host().SendCommand(IDC_HOST_BUSY, 1));
  EXPECT_FALSE(host().PostCommand(IDC_HOST_SYNC_STATE, 1));
  EXPECT_TRUE(window().Received().empty());
}

TEST_P(HostWindowContract, EveryCommandReachesTheWindowAsSentOrPosted) {
  window().SetPresent(true);
  EXPECT_TRUE(host().SendCommand(IDC_HOST_BUSY, 1));
  EXPECT_TRUE(host().PostCommand(IDC_HOST_SYNC_STATE, 1));
  EXPECT_TRUE(host().PostCommand(IDC_HOST_ANIMATION_OFF, 0));
  EXPECT_TRUE(host().SendCommand(IDC_HOST_BUSY, 0));
  // Sent commands arrive at once and posted ones when the host's queue is worked off, so
  // only the membership is the same for every implementation.
  EXPECT_THAT(window().Received(), UnorderedElementsAre(Command{true, IDC_HOST_BUSY, 1},
                                                        Command{false, IDC_HOST_SYNC_STATE, 1},
                                                        Command{false, IDC_HOST_ANIMATION_OFF, 0},
                                                        Command{true, IDC_HOST_BUSY, 0}));
}

TEST_P(HostWindowContract, TheWindowIsLookedUpAgainOnEveryCall) {
  window().SetPresent(true);
  EXPECT_TRUE(host().SendCommand(IDC_HOST_ANIMATION_ON, 1));
  window().SetPresent(false);
  EXPECT_FALSE(host().SendCommand(IDC_HOST_BUSY, 1));
  window().SetPresent(true);  // the host made its window again
  EXPECT_TRUE(host().PostCommand(IDC_HOST_ANIMATION_OFF, 0));
  const std::vector<Command> received = window().Received();
  ASSERT_FALSE(received.empty());
  EXPECT_EQ(received.back(), (Command{false, IDC_HOST_ANIMATION_OFF, 0}));
}

QBRK_CONTRACT_FOR(Twin, HostWindowContract, HostWindowUnderTest, TwinHostWindow);
#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, HostWindowContract, HostWindowUnderTest, Win32HostWindowUnderTest);

// Not shared with the twin, which records every command at once.
TEST(Win32HostWindowTest, SendWaitsForTheHostAndPostOnlyQueues) {
  Win32HostWindowUnderTest window;
  ASSERT_TRUE(window.on_own_desktop());
  window.SetPresent(true);
  ASSERT_TRUE(window.host().PostCommand(IDC_HOST_SYNC_STATE, 0));
  EXPECT_TRUE(window.handled().empty());
  ASSERT_TRUE(window.host().SendCommand(IDC_HOST_BUSY, 1));
  EXPECT_THAT(window.handled(), ElementsAre(Command{true, IDC_HOST_BUSY, 1}));
  EXPECT_THAT(window.Received(),
              ElementsAre(Command{true, IDC_HOST_BUSY, 1}, Command{false, IDC_HOST_SYNC_STATE, 0}));
}
#endif

}  // namespace
}  // namespace qbrk
