// Elapsed seconds by the performance counter, for the transfer benchmark's programs.
#pragma once

#include <windows.h>

class Stopwatch {
 public:
  Stopwatch() { QueryPerformanceCounter(&start_); }
  double Seconds() const {
    LARGE_INTEGER now, frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart - start_.QuadPart) / frequency.QuadPart;
  }

 private:
  LARGE_INTEGER start_;
};
