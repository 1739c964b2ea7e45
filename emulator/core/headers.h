// Header fields of a request or an answer, in arrival order. Names compare without regard to
// ASCII case.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbrk::emulator {

using HeaderField = std::pair<std::string, std::string>;

// The value of the first field of that name.
std::optional<std::string_view> FindHeader(const std::vector<HeaderField>& fields,
                                           std::string_view name);

class Headers {
 public:
  using Field = HeaderField;

  void Add(std::string name, std::string value);
  // Replaces every field of that name by one.
  void Set(std::string name, std::string value);
  void Remove(std::string_view name);
  std::optional<std::string_view> Get(std::string_view name) const {
    return FindHeader(fields_, name);
  }
  bool Has(std::string_view name) const { return Get(name).has_value(); }
  const std::vector<Field>& fields() const { return fields_; }

 private:
  std::vector<Field> fields_;
};

}  // namespace qbrk::emulator
