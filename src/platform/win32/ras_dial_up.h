// The dial-up seam over "rasapi32.dll", loaded at run time: machines without the Remote
// Access Service (and Wine, whose copy lacks entry points on some versions) simply have no
// dial-up handling.
#pragma once

#include "platform/dial_up.h"

namespace qbrk {

class RasDialUpLoader final : public DialUpLoader {
 public:
  std::unique_ptr<DialUp> Load() override;
};

}  // namespace qbrk
