#include "dialogs/message_box.h"

#include <string>
#include <vector>

#include "dialogs/message_box_geometry.h"
#include "dialogs/message_box_rules.h"
#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

constexpr char kDefaultCaption[] = "Qbrookツール";
constexpr int kButtonIds[kBoxButtonCount] = {IDC_MESSAGE_BUTTON1, IDC_MESSAGE_BUTTON2, IDCANCEL,
                                             IDC_MESSAGE_STATUS};
// Least room between the button row and the sides of the box, in dialog units.
constexpr int kButtonMarginDlu = 7;

StatusPageAction& ProcessStatusPageAction() {
  static StatusPageAction action;
  return action;
}

struct BoxState {
  const char* text;
  const char* caption;
  uint32_t type;
  const StatusPageAction* open_status_page;
  BoxLayoutRule rule;
  uint32_t result = box_result::kAbort;  // what a box ended by other means reports
  bool created = false;
};

LPCSTR SystemIconName(BoxIcon icon) {
  switch (icon) {
    case BoxIcon::kHand:
      return MAKEINTRESOURCEA(32513);  // IDI_HAND
    case BoxIcon::kQuestion:
      return MAKEINTRESOURCEA(32514);  // IDI_QUESTION
    case BoxIcon::kAsterisk:
      return MAKEINTRESOURCEA(32516);  // IDI_ASTERISK
    case BoxIcon::kExclamation:
      break;
  }
  return MAKEINTRESOURCEA(32515);  // IDI_EXCLAMATION
}

BoxRect ChildRect(HWND dialog, int id) {
  RECT rect{};
  HWND child = GetDlgItem(dialog, id);
  if (child) {
    GetWindowRect(child, &rect);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
  }
  return {rect.left, rect.top, rect.right, rect.bottom};
}

void MoveChild(HWND dialog, int id, const BoxRect& rect) {
  if (HWND child = GetDlgItem(dialog, id)) {
    MoveWindow(child, rect.left, rect.top, rect.width(), rect.height(), FALSE);
  }
}

// Widths of the message's lines in the text control's font, in device units.
std::vector<int> MeasureLines(HWND text_control, const std::vector<std::string>& lines) {
  std::vector<int> widths(lines.size(), 0);
  HDC dc = GetDC(text_control);
  if (!dc) return widths;
  HGDIOBJ font = reinterpret_cast<HGDIOBJ>(SendMessageA(text_control, WM_GETFONT, 0, 0));
  HGDIOBJ previous = font ? SelectObject(dc, font) : nullptr;
  for (size_t i = 0; i < lines.size(); ++i) {
    SIZE size{};
    if (!lines[i].empty() &&
        GetTextExtentPoint32A(dc, lines[i].data(), static_cast<int>(lines[i].size()), &size)) {
      widths[i] = size.cx;
    }
  }
  if (previous) SelectObject(dc, previous);
  ReleaseDC(text_control, dc);
  return widths;
}

// Keeps the box centred where the template put it, and on the monitor's work area.
void ResizeKeepingCentre(HWND dialog, int width_growth, int height_growth) {
  RECT window{};
  GetWindowRect(dialog, &window);
  int width = window.right - window.left + width_growth;
  int height = window.bottom - window.top + height_growth;
  int x = window.left - width_growth / 2;
  int y = window.top - height_growth / 2;
  MONITORINFO monitor{};
  monitor.cbSize = sizeof(monitor);
  if (GetMonitorInfoA(MonitorFromWindow(dialog, MONITOR_DEFAULTTONEAREST), &monitor)) {
    const RECT& work = monitor.rcWork;
    if (x + width > work.right) x = work.right - width;
    if (y + height > work.bottom) y = work.bottom - height;
    if (x < work.left) x = work.left;
    if (y < work.top) y = work.top;
  }
  SetWindowPos(dialog, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

void LayOut(HWND dialog, const std::string& text, const std::array<bool, kBoxButtonCount>& shown) {
  BoxDesign design;
  RECT client{};
  GetClientRect(dialog, &client);
  design.client_width = client.right;
  design.client_height = client.bottom;
  design.text = ChildRect(dialog, IDC_MESSAGE_TEXT);
  for (int i = 0; i < kBoxButtonCount; ++i)
    design.buttons[i] = ChildRect(dialog, kButtonIds[i]);
  design.button_gap = design.buttons[1].left - design.buttons[0].right;
  RECT margin{kButtonMarginDlu, 0, 0, 0};
  MapDialogRect(dialog, &margin);
  design.button_margin = margin.left;

  const std::vector<int> widths =
      MeasureLines(GetDlgItem(dialog, IDC_MESSAGE_TEXT), SplitMessageLines(text));
  const BoxPlacement placed = PlaceMessageBox(design, widths, shown);

  MoveChild(dialog, IDC_MESSAGE_TEXT, placed.text);
  for (int i = 0; i < kBoxButtonCount; ++i) {
    if (shown[i]) MoveChild(dialog, kButtonIds[i], placed.buttons[i]);
  }
  ResizeKeepingCentre(dialog, placed.client_width - design.client_width,
                      placed.client_height - design.client_height);
}

// Returns FALSE: the focus is set here.
INT_PTR Initialise(HWND dialog, BoxState& state) {
  state.created = true;
  const std::array<bool, kBoxButtonCount> shown = VisibleButtons(state.type);
  for (int i = 0; i < kBoxButtonCount; ++i) {
    HWND button = GetDlgItem(dialog, kButtonIds[i]);
    if (!button) continue;
    if (i < 3 && state.rule.buttons[i].caption) {
      SetWindowTextA(button, state.rule.buttons[i].caption);
    }
    ShowWindow(button, shown[i] ? SW_SHOW : SW_HIDE);
    // A hidden button must not answer its mnemonic either.
    EnableWindow(button, shown[i] ? TRUE : FALSE);
  }

  HICON icon = LoadIconA(nullptr, SystemIconName(IconFor(state.type)));
  SendDlgItemMessageA(dialog, IDC_MESSAGE_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);

  SetWindowTextA(dialog, state.caption ? state.caption : kDefaultCaption);
  const std::string text = state.text ? state.text : "";
  SetDlgItemTextA(dialog, IDC_MESSAGE_TEXT, text.c_str());

  if (HMENU menu = GetSystemMenu(dialog, FALSE)) {
    EnableMenuItem(menu, SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
  }

  LayOut(dialog, text, shown);

  const int default_id = kButtonIds[static_cast<int>(DefaultButtonFor(state.type))];
  SendMessageA(dialog, DM_SETDEFID, default_id, 0);
  // WM_NEXTDLGCTL moves the focus the way the dialog manager does, default style included.
  SendMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, default_id)),
               TRUE);
  return FALSE;
}

void Finish(HWND dialog, BoxState& state, uint32_t result) {
  state.result = result;
  EndDialog(dialog, static_cast<INT_PTR>(result));
}

void OnCommand(HWND dialog, BoxState& state, int id) {
  switch (id) {
    case IDC_MESSAGE_BUTTON1:
    case IDC_MESSAGE_BUTTON2: {
      const BoxButtonRule& button = state.rule.buttons[id == IDC_MESSAGE_BUTTON1 ? 0 : 1];
      if (button.visible && button.result != 0) Finish(dialog, state, button.result);
      break;
    }
    case IDCANCEL:  // button 3, and Escape
      if (state.rule.cancel_command_ends) Finish(dialog, state, state.rule.buttons[2].result);
      break;
    case IDC_MESSAGE_STATUS:
      if ((state.type & kBoxStatusButton) && state.open_status_page && *state.open_status_page) {
        (*state.open_status_page)();
      }
      break;
  }
}

INT_PTR CALLBACK MessageBoxProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  try {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrA(dialog, DWLP_USER, lparam);
      return Initialise(dialog, *reinterpret_cast<BoxState*>(lparam));
    }
    auto* state = reinterpret_cast<BoxState*>(GetWindowLongPtrA(dialog, DWLP_USER));
    if (!state) return FALSE;
    switch (message) {
      case WM_COMMAND:
        if (HIWORD(wparam) == BN_CLICKED) OnCommand(dialog, *state, LOWORD(wparam));
        return TRUE;
      case WM_CLOSE:
        return TRUE;  // the title bar cannot end the box
    }
  } catch (...) {
    // Nothing may unwind through the system's dialog manager; the box carries on as it is.
  }
  return FALSE;
}

}  // namespace

uint32_t ShowMessageBox(const char* text, const char* caption, uint32_t type, HWND owner,
                        const StatusPageAction& open_status_page) {
  try {
    BoxState state{text, caption, type, &open_status_page, LayoutRuleFor(type)};
    const INT_PTR ended = DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_MESSAGE_BOX), owner,
                                          MessageBoxProc, reinterpret_cast<LPARAM>(&state));
    // An invalid owner makes DialogBoxParam fail with 0 rather than -1.
    if (ended == -1 || !state.created) return box_result::kNotShown;
    return state.result;
  } catch (...) {
    return box_result::kNotShown;
  }
}

uint32_t ShowMessageBox(const char* text, const char* caption, uint32_t type, HWND owner) {
  return ShowMessageBox(text, caption, type, owner, ProcessStatusPageAction());
}

void SetStatusPageAction(StatusPageAction action) {
  ProcessStatusPageAction() = std::move(action);
}

}  // namespace qbrk
