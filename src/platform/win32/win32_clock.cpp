#include "platform/win32/win32_clock.h"

#include <windows.h>

#include <ctime>

namespace qbrk {

uint32_t Win32Clock::TickCount() { return GetTickCount(); }

uint64_t Win32Clock::Now() {
  FILETIME ft;
  GetSystemTimeAsFileTime(&ft);
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

CalendarTime Win32Clock::LocalNow() {
  SYSTEMTIME st;
  GetLocalTime(&st);
  CalendarTime t;
  t.year = st.wYear;
  t.month = st.wMonth;
  t.day_of_week = st.wDayOfWeek;
  t.day = st.wDay;
  t.hour = st.wHour;
  t.minute = st.wMinute;
  t.second = st.wSecond;
  t.milliseconds = st.wMilliseconds;
  return t;
}

int64_t Win32Clock::UnixSeconds() { return static_cast<int64_t>(std::time(nullptr)); }

void Win32Clock::Sleep(uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace qbrk
