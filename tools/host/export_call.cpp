#include "export_call.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

namespace qbrk_host {

namespace {

struct ExportInfo {
  const char* name;
  int arity;
};

constexpr ExportInfo kExports[] = {
    {"qbrkChangeLocalMirrorPath", 2}, {"qbrkChckStartUpSynchro", 2},
    {"qbrkDeleteAllSeverFile", 2},    {"qbrkDeleteTableFile", 2},
    {"qbrkGetMirrorFolderPathEx", 2}, {"qbrkMsgBox", 4},
    {"qbrkOnDestroy", 2},             {"qbrkOnInit", 2},
    {"qbrkOpenDiskSpaceDlg", 2},      {"qbrkOpenOptionDlg", 2},
    {"qbrkOpenSyncListDlg", 2},       {"qbrkPublishFolder", 2},
    {"qbrkSeparateFileTransfer", 4},  {"qbrkSynchronize", 2},
    {"qbrkUpdate", 0},                {"qbrkViewHomePage", 1},
    {"qbrkGetMirrorFolderPath", 1},
};

// Every export takes pointer-sized or 32-bit arguments by value with __stdcall, so one
// pointer type per arity calls any of them on both i686 and x86_64.
using Call0 = UINT(WINAPI*)();
using Call1 = UINT(WINAPI*)(UINT_PTR);
using Call2 = UINT(WINAPI*)(UINT_PTR, UINT_PTR);
using Call4 = UINT(WINAPI*)(UINT_PTR, UINT_PTR, UINT_PTR, UINT_PTR);

// GetProcAddress gives a generic function pointer; going through void(*)() states that the
// cast to the export's real type is intended.
template <typename Function>
Function As(FARPROC proc) {
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(proc));
}

// Storage that must outlive the call: strings, buffers, item records.
struct Arena {
  std::vector<std::unique_ptr<std::string>> strings;
  std::vector<std::unique_ptr<std::vector<char>>> buffers;
  std::vector<std::unique_ptr<QbrkTransferItem>> items;
  std::vector<std::unique_ptr<std::vector<QbrkTransferItem*>>> item_lists;
};

void CopyBounded(char* out, size_t size, const std::string& text) {
  std::snprintf(out, size, "%s", text.c_str());
}

bool LoadItems(const std::string& file, Arena& arena, UINT_PTR* value, std::string* error) {
  std::ifstream in(file);
  if (!in) {
    *error = "cannot read " + file;
    return false;
  }
  auto list = std::make_unique<std::vector<QbrkTransferItem*>>();
  std::string line;
  for (int count = 0; count < 100000 && std::getline(in, line); ++count) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    const size_t first = line.find('|');
    const size_t second = first == std::string::npos ? first : line.find('|', first + 1);
    if (second == std::string::npos) {
      *error = "bad item line: " + line;
      return false;
    }
    auto item = std::make_unique<QbrkTransferItem>();
    std::memset(item.get(), 0, sizeof *item);
    item->operation = static_cast<DWORD>(std::strtoul(line.substr(0, first).c_str(), nullptr, 0));
    CopyBounded(item->local_path, sizeof item->local_path, line.substr(first + 1, second - first - 1));
    CopyBounded(item->server_path, sizeof item->server_path, line.substr(second + 1));
    list->push_back(item.get());
    arena.items.push_back(std::move(item));
  }
  list->push_back(nullptr);
  *value = reinterpret_cast<UINT_PTR>(list->data());
  arena.item_lists.push_back(std::move(list));
  return true;
}

bool ParseArgument(const std::string& text, HWND host, Arena& arena, UINT_PTR* value,
                   std::string* error) {
  if (text == "@host") {
    *value = reinterpret_cast<UINT_PTR>(host);
  } else if (text == "@null") {
    *value = 0;
  } else if (text == "@buf") {
    arena.buffers.push_back(std::make_unique<std::vector<char>>(260, '\0'));
    *value = reinterpret_cast<UINT_PTR>(arena.buffers.back()->data());
  } else if (text.rfind("s:", 0) == 0) {
    arena.strings.push_back(std::make_unique<std::string>(text.substr(2)));
    *value = reinterpret_cast<UINT_PTR>(arena.strings.back()->c_str());
  } else if (text.rfind("@items:", 0) == 0) {
    return LoadItems(text.substr(7), arena, value, error);
  } else {
    char* end = nullptr;
    const long long number = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0') {
      *error = "bad argument: " + text;
      return false;
    }
    *value = static_cast<UINT_PTR>(number);
  }
  return true;
}

}  // namespace

CallOutcome CallExport(HMODULE library, HWND host_window, const ExportCall& call) {
  CallOutcome outcome;
  const ExportInfo* info = nullptr;
  for (const auto& candidate : kExports)
    if (call.name == candidate.name) info = &candidate;
  if (!info) {
    outcome.error = "unknown export " + call.name;
    return outcome;
  }
  if (static_cast<int>(call.args.size()) != info->arity) {
    outcome.error = call.name + " takes " + std::to_string(info->arity) + " arguments";
    return outcome;
  }
  FARPROC proc = GetProcAddress(library, info->name);
  if (!proc) {
    outcome.error = std::string("the library does not export ") + info->name;
    return outcome;
  }
  Arena arena;
  UINT_PTR v[4] = {};
  for (size_t i = 0; i < call.args.size(); ++i)
    if (!ParseArgument(call.args[i], host_window, arena, &v[i], &outcome.error)) return outcome;

  switch (info->arity) {
    case 0: outcome.result = As<Call0>(proc)(); break;
    case 1: outcome.result = As<Call1>(proc)(v[0]); break;
    case 2: outcome.result = As<Call2>(proc)(v[0], v[1]); break;
    default: outcome.result = As<Call4>(proc)(v[0], v[1], v[2], v[3]); break;
  }
  outcome.called = true;
  for (const auto& buffer : arena.buffers)
    outcome.notes.push_back("buffer \"" + std::string(buffer->data()) + "\"");
  for (const auto& item : arena.items)
    outcome.notes.push_back("item " + std::string(item->server_path) + " status " +
                            std::to_string(item->status));
  return outcome;
}

}  // namespace qbrk_host
