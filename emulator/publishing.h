// The publishing servlet: short text commands sent by POST that publish folders as public
// web pages, and the public pages themselves ("/pub/<token>/...").
#pragma once

#include <memory>

#include "exchange.h"
#include "service_state.h"

namespace qbrk::emulator {

inline constexpr char kPublicPrefix[] = "/pub/";
inline constexpr size_t kMaxDisplayNameChars = 40;

std::unique_ptr<Exchange> BeginServlet(ServiceState& state, RequestHead head);
std::unique_ptr<Exchange> BeginPublicPage(ServiceState& state, RequestHead head);

}  // namespace qbrk::emulator
