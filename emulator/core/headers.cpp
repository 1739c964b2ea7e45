#include "headers.h"

#include "ascii_case.h"

namespace qbrk::emulator {

std::optional<std::string_view> FindHeader(const std::vector<HeaderField>& fields,
                                           std::string_view name) {
  for (const HeaderField& f : fields) {
    if (EqualsIgnoringAsciiCase(f.first, name)) return std::string_view(f.second);
  }
  return std::nullopt;
}

void Headers::Add(std::string name, std::string value) {
  fields_.emplace_back(std::move(name), std::move(value));
}

void Headers::Set(std::string name, std::string value) {
  Remove(name);
  Add(std::move(name), std::move(value));
}

void Headers::Remove(std::string_view name) {
  std::erase_if(fields_, [&](const Field& f) { return EqualsIgnoringAsciiCase(f.first, name); });
}

}  // namespace qbrk::emulator
