#include "support/screenshot.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace qbrk::test {

namespace {

// A top-level window of another thread may still be painting when it is first seen.
void LetItPaint(HWND window) {
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
  Sleep(250);
}

bool WriteBitmap(const std::string& path, int width, int height, const std::vector<BYTE>& bits) {
  const DWORD image_size = static_cast<DWORD>(bits.size());
  BITMAPFILEHEADER file{};
  file.bfType = 0x4D42;  // "BM"
  file.bfOffBits = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
  file.bfSize = file.bfOffBits + image_size;
  BITMAPINFOHEADER info{};
  info.biSize = sizeof(info);
  info.biWidth = width;
  info.biHeight = height;
  info.biPlanes = 1;
  info.biBitCount = 24;
  info.biCompression = BI_RGB;
  info.biSizeImage = image_size;
  FILE* out = std::fopen(path.c_str(), "wb");
  if (!out) return false;
  const bool written = std::fwrite(&file, sizeof(file), 1, out) == 1 &&
                       std::fwrite(&info, sizeof(info), 1, out) == 1 &&
                       std::fwrite(bits.data(), 1, bits.size(), out) == bits.size();
  return std::fclose(out) == 0 && written;
}

}  // namespace

bool SaveScreenshot(HWND window, const std::string& name) {
  const char* folder = std::getenv("QBRK_SCREENSHOT_DIR");
  if (!folder || !*folder) return true;
  return SaveWindowPicture(window, std::string(folder) + "\\" + name + ".bmp");
}

bool SaveWindowPicture(HWND window, const std::string& path) {
  LetItPaint(window);

  RECT rect{};
  if (!GetWindowRect(window, &rect)) return false;
  const int width = rect.right - rect.left;
  const int height = rect.bottom - rect.top;
  if (width <= 0 || height <= 0) return false;

  HDC screen = GetDC(nullptr);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ previous = SelectObject(memory, bitmap);
  const bool copied = BitBlt(memory, 0, 0, width, height, screen, rect.left, rect.top, SRCCOPY);
  SelectObject(memory, previous);

  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = height;  // bottom-up, as a .bmp stores it
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  const int stride = ((width * 3 + 3) / 4) * 4;
  std::vector<BYTE> bits(static_cast<size_t>(stride) * height);
  const bool read =
      copied && GetDIBits(memory, bitmap, 0, height, bits.data(), &info, DIB_RGB_COLORS) == height;
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  if (!read) return false;
  // The folder is usually given as a Unix path; Wine shows the Unix root as drive Z:.
  const std::string prefix = !path.empty() && path[0] == '/' ? "Z:" : "";
  return WriteBitmap(prefix + path, width, height, bits);
}

}  // namespace qbrk::test
