#include "dialogs/options/options_entry.h"

#include "shell/options_store.h"

namespace qbrk {

uint32_t RunOptionsEntry(Env& env, const OptionsEditor& edit) {
  OptionsRecord record;
  LoadOptions(env, &record);
  const uint32_t ended = edit(&record);
  if (ended == kOptionsConfirmed) StoreOptions(env, record);
  return ended;
}

}  // namespace qbrk
