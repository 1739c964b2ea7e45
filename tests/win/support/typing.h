// Keyboard input for dialog tests: text typed into an edit control the way the keyboard
// delivers it, so the control applies its own limits.
#pragma once

#include <windows.h>

#include <string>

namespace qbrk::test {

// Replaces the text of edit `id` by typing `text` (ASCII) into it character by character.
void TypeInto(HWND dialog, int id, const std::string& text);

}  // namespace qbrk::test
