// Pictures of the dialogs the tests open, for people to look at.
#pragma once

#include <windows.h>

#include <string>

namespace qbrk::test {

// Saves `window` as it is on screen to $QBRK_SCREENSHOT_DIR/<name>.bmp (24-bit); does nothing
// when the variable is not set. Returns false when a picture was wanted but not written.
bool SaveScreenshot(HWND window, const std::string& name);

// Saves `window` as it is on screen to `path` (a Windows path; "/..." is taken as a Unix path
// under drive Z:). Returns false when nothing was written.
bool SaveWindowPicture(HWND window, const std::string& path);

}  // namespace qbrk::test
