// qbrk-demo: the library's main job against a server named in the user's settings.
//
//   qbrk-demo --configure HOST PORT USER PASSWORD MIRROR   writes the settings the library reads
//   qbrk-demo [--folder NAME] [--publisher NAME]            runs the demonstration
//
// Lines go to stdout in UTF-8 (the library's text is code page 932). Exit status: 0 when
// every step succeeded, 1 when one failed, 2 for bad arguments.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "demo_run.h"
#include "demo_settings.h"
#include "platform/win32/win32_env.h"
#include "platform/win32/win32_net.h"

namespace {

// Code page 932 to UTF-8 for the terminal; bytes that do not convert are shown as '?'.
std::string ToUtf8(const std::string& text) {
  if (text.empty()) return text;
  const int wide_length =
      MultiByteToWideChar(932, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  if (wide_length <= 0) return text;
  std::wstring wide(static_cast<size_t>(wide_length), L'\0');
  MultiByteToWideChar(932, 0, text.data(), static_cast<int>(text.size()), wide.data(), wide_length);
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), wide_length, nullptr, 0, nullptr, nullptr);
  if (length <= 0) return text;
  std::string utf8(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), wide_length, utf8.data(), length, nullptr, nullptr);
  return utf8;
}

// The command line's text arrives in the ANSI code page, which is the library's.
void PrintLine(const std::string& line) {
  const std::string utf8 = ToUtf8(line) + "\n";
  std::fwrite(utf8.data(), 1, utf8.size(), stdout);
  std::fflush(stdout);
}

int Usage() {
  std::fprintf(stderr,
               "usage: qbrk-demo --configure HOST PORT USER PASSWORD MIRROR\n"
               "       qbrk-demo [--folder NAME] [--publisher NAME]\n");
  return 2;
}

int Configure(char** argv) {
  qbrk::demo::DemoSettings settings;
  settings.host = argv[0];
  char* end = nullptr;
  const unsigned long port = std::strtoul(argv[1], &end, 10);
  if (*end != '\0' || port == 0 || port > 65535) return Usage();
  settings.port = static_cast<uint16_t>(port);
  settings.user = argv[2];
  settings.password = argv[3];
  settings.mirror = argv[4];
  qbrk::Env& env = qbrk::Win32Env();
  std::string failed;
  if (!qbrk::demo::WriteDemoSettings(env.registry, env.clock, settings, &failed)) {
    PrintLine("configure FAILED, the value " + failed + " could not be stored");
    return 1;
  }
  PrintLine("configure HKCU\\SOFTWARE\\Halvorn\\Quellanbrook\\1.0: Domain " + settings.host +
            ", Port " + std::to_string(settings.port) + ", UseSSL 0, Info (scrambled, user " +
            settings.user + "), Mirror " + settings.mirror);
  return 0;
}

int Run(int argc, char** argv) {
  // The Japanese defaults are literals, compiled into code page 932 like the library's text.
  qbrk::demo::DemoPlan plan;
  plan.folder_name = "デモ資料";
  plan.display = {qbrk::DisplayMode::kCustom, "クエラン太郎"};
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--folder" && i + 1 < argc) {
      plan.folder_name = argv[++i];
    } else if (arg == "--publisher" && i + 1 < argc) {
      plan.display.name = argv[++i];
    } else {
      return Usage();
    }
  }
  qbrk::NetPlatform net{qbrk::Win32HttpTransport(), qbrk::Win32DialUp()};
  const qbrk::demo::DemoOutcome outcome =
      qbrk::demo::RunDemo(qbrk::Win32Env(), net, plan, PrintLine);
  return outcome.ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  // Binary, so that the UTF-8 lines reach a pipe without carriage returns.
  _setmode(_fileno(stdout), _O_BINARY);
  try {
    if (argc >= 2 && std::string(argv[1]) == "--configure") {
      if (argc != 7) return Usage();
      return Configure(argv + 2);
    }
    return Run(argc - 1, argv + 1);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qbrk-demo: %s\n", e.what());
    return 1;
  }
}
