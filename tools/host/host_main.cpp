// qbrk-host: stands in for the tray program in end-to-end tests.
//
//   qbrk-host [--dll PATH] [--no-window] [--pump-ms N] [--timing]
//             [--answer ID[=TEXT]]... [--pictures FOLDER]
//             call NAME ARG... [call NAME ARG...]...
//
// Prints one line per call ("NAME -> RESULT"), then the WM_COMMAND messages the host window
// received during and right after the call ("  sent 32779 1", "  posted 32780 1") and any
// buffers or transfer items the call filled. With --timing, each call's own duration follows
// ("  took 1003 ms"). Each --answer presses button ID in any dialog the library opens that has
// it (reading TEXT, when given), once per dialog: "--answer 1=閉じる" closes a finished
// progress dialog, "--answer 6008" takes the server's side of a conflict. The answers given
// during a call are listed under it ("  answered "CAPTION" with ID"); with --pictures, each
// dialog is saved in FOLDER just before it is answered. Exit status: 0 when every call was
// made.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "dialog_answerer.h"
#include "export_call.h"
#include "host_window_recorder.h"

namespace {

int Usage() {
  std::fprintf(stderr,
               "usage: qbrk-host [--dll PATH] [--no-window] [--pump-ms N] [--timing] "
               "[--answer ID[=TEXT]]... [--pictures FOLDER] "
               "call NAME ARG... [call NAME ARG...]...\n");
  return 2;
}

std::string DefaultLibraryPath() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, sizeof path);
  std::string folder(path);
  folder.resize(folder.find_last_of('\\') + 1);
  return folder + "HVqbrkCn.dll";
}

// Lets messages posted at the end of a call arrive before they are reported.
void PumpFor(qbrk_host::HostWindowRecorder& recorder, DWORD milliseconds) {
  const DWORD start = GetTickCount();
  do {
    recorder.Pump();
    Sleep(10);
  } while (GetTickCount() - start < milliseconds);
  recorder.Pump();
}

}  // namespace

int main(int argc, char** argv) {
  std::string library_path = DefaultLibraryPath();
  bool with_window = true;
  DWORD pump_ms = 100;
  bool timing = false;
  std::vector<qbrk_host::ExportCall> calls;
  std::vector<qbrk_host::AnswerRule> answers;
  std::string picture_folder;

  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--dll" && i + 1 < argc) {
      library_path = argv[++i];
    } else if (arg == "--no-window") {
      with_window = false;
    } else if (arg == "--timing") {
      timing = true;
    } else if (arg == "--pump-ms" && i + 1 < argc) {
      pump_ms = static_cast<DWORD>(std::strtoul(argv[++i], nullptr, 10));
    } else if (arg == "--answer" && i + 1 < argc && calls.empty()) {
      const auto rule = qbrk_host::ParseAnswerRule(argv[++i]);
      if (!rule) return Usage();
      answers.push_back(*rule);
    } else if (arg == "--pictures" && i + 1 < argc && calls.empty()) {
      picture_folder = argv[++i];
    } else if (arg == "call" && i + 1 < argc) {
      calls.push_back({argv[++i], {}});
    } else if (!calls.empty()) {
      calls.back().args.push_back(arg);
    } else {
      return Usage();
    }
  }
  if (calls.empty()) return Usage();

  qbrk_host::HostWindowRecorder recorder;
  std::string error;
  if (with_window && !recorder.Create(&error)) {
    std::fprintf(stderr, "cannot create the host window: %s (error %lu)\n", error.c_str(),
                 GetLastError());
    return 1;
  }
  HMODULE library = LoadLibraryA(library_path.c_str());
  if (!library) {
    std::fprintf(stderr, "cannot load %s (error %lu)\n", library_path.c_str(), GetLastError());
    return 1;
  }

  qbrk_host::DialogAnswerer answerer(answers, picture_folder);
  int status = 0;
  for (const auto& call : calls) {
    const DWORD started = GetTickCount();
    const qbrk_host::CallOutcome outcome = qbrk_host::CallExport(library, recorder.window(), call);
    const DWORD took = GetTickCount() - started;
    if (!outcome.called) {
      std::printf("%s failed: %s\n", call.name.c_str(), outcome.error.c_str());
      status = 1;
      continue;
    }
    PumpFor(recorder, pump_ms);
    std::printf("%s -> %u\n", call.name.c_str(), outcome.result);
    if (timing) std::printf("  took %lu ms\n", static_cast<unsigned long>(took));
    for (const auto& command : recorder.TakeCommands())
      std::printf("  %s %u %ld\n", command.sent ? "sent" : "posted", command.id,
                  static_cast<long>(command.value));
    for (const auto& answer : answerer.TakeReport()) std::printf("  %s\n", answer.c_str());
    for (const auto& note : outcome.notes) std::printf("  %s\n", note.c_str());
    std::fflush(stdout);
  }
  FreeLibrary(library);
  return status;
}
