// Pictures of the dialogs the tests open, for people to look at.
#pragma once

#include <windows.h>

#include <string>

namespace qbrk::test {

// Saves `window` as it is on screen to $QBRK_SCREENSHOT_DIR/<name>.bmp (24-bit); does nothing
// when the variable is not set. Returns false when a picture was wanted but not written.
bool SaveScreenshot(HWND window, const std::string& name);

}  // namespace qbrk::test
