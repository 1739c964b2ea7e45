// What a dialog hands the job it starts. The worker owns the record from then on and frees
// it at its end, with any trees it carries.
#pragma once

#include <memory>
#include <string>

#include "platform/dialog_link.h"
#include "sync/sync_table.h"

namespace qbrk {

struct JobRecord {
  // The worker's side of the link to its dialog; null for a job without one (the start-up
  // check). A dialog that is no longer attached has cancelled or closed.
  DialogLink* link = nullptr;
  // Where the dialog reads the name of the entry a failing step worked on, written before
  // the failure is posted; null when nobody reads it.
  std::string* error_name = nullptr;
  // A plan handed over by the sync list with the record it was planned against: when both
  // are present the synchronize job executes that plan without scanning again.
  std::unique_ptr<SyncTable> recorded;
  std::unique_ptr<SyncTable> plan;

  bool IsAttached() const { return link && link->IsAttached(); }
  // Posts and waits, only while the dialog is open: a dialog that went away is not waited for.
  void Post(uint32_t message, uintptr_t wparam = 0, intptr_t lparam = 0) {
    if (IsAttached()) link->PostAndWait(message, wparam, lparam);
  }
};

}  // namespace qbrk
