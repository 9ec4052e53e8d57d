#include "platform/linux/webkit/webkit_url.h"

#include "base/percent_encoding.h"

namespace orvel {

std::optional<Url> urlFromWebKit(const char *address) {
  if (address == nullptr) return std::nullopt;
  return Url::parse(percentEncoded(address));
}

std::string_view withoutFragment(std::string_view address) {
  return address.substr(0, address.find('#'));
}

}  // namespace orvel
