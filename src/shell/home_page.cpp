#include "shell/home_page.h"

#include "settings/settings.h"
#include "shell/browser.h"

namespace qbrk {

uint32_t ViewHomePage(Env& env, const std::string& value_name) {
  Settings settings(env.registry);
  std::string url;
  // A missing key or value opens nothing; the command still counts as done.
  if (settings.ReadHomePageUrl(value_name, &url))
    OpenUrlInBrowser(env.registry, env.shell, url.c_str());
  return 1;
}

}  // namespace qbrk
