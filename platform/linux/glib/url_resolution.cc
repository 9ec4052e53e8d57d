#include <algorithm>

#include "base/percent_encoding.h"
#include "base/url.h"

namespace orvel {

namespace {

/// The components of a URL or a relative reference, not decoded and with their delimiters.
/// Concatenated they are the whole text (RFC 3986, section 5.3).
struct Components {
  std::string_view scheme;
  std::string_view authority;
  std::string_view path;
  std::string_view query;
  std::string_view fragment;
};

/// Removes the end of a text from a position on, and returns it.
std::string_view takeFrom(std::string_view &text, std::size_t position) {
  const std::string_view taken = text.substr(std::min(position, text.size()));
  text.remove_suffix(taken.size());
  return taken;
}

/// Splits a URL or a relative reference.
Components componentsOf(std::string_view url) {
  Components components;
  components.fragment = takeFrom(url, url.find('#'));
  components.query = takeFrom(url, url.find('?'));
  const auto colon = url.substr(0, url.find('/')).find(':');
  if (colon != std::string_view::npos) {
    components.scheme = url.substr(0, colon + 1);
    url.remove_prefix(components.scheme.size());
  }
  if (url.starts_with("//")) {
    components.authority = url.substr(0, url.find('/', 2));
    url.remove_prefix(components.authority.size());
  }
  components.path = url;
  return components;
}

/// Returns a path without its "." and ".." segments (RFC 3986, section 5.2.4).
std::string withoutDotSegments(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    if (path.starts_with("../")) {
      path.remove_prefix(3);
    } else if (path.starts_with("./") || path.starts_with("/./")) {
      path.remove_prefix(2);
    } else if (path == "/.") {
      path = "/";
    } else if (path.starts_with("/../") || path == "/..") {
      path = path.size() > 3 ? path.substr(3) : "/";
      const auto last = result.rfind('/');
      result.erase(last == std::string::npos ? 0 : last);
    } else if (path == "." || path == "..") {
      path = "";
    } else {
      const std::string_view segment = path.substr(0, path.find('/', 1));
      result += segment;
      path.remove_prefix(segment.size());
    }
  }
  return result;
}

/// Merges a relative path with the path of the base (RFC 3986, section 5.2.3).
std::string merged(const Components &base, std::string_view path) {
  if (base.path.empty() && !base.authority.empty()) return "/" + std::string(path);
  const auto folder = base.path.substr(0, base.path.rfind('/') + 1);
  return std::string(folder) + std::string(path);
}

}  // namespace

std::optional<Url> Url::resolve(std::string_view reference, const Url &base) {
  // Encodes only the characters that are not valid in a URL.
  const std::string escaped = percentEncoded(reference);
  if (base.scheme.empty() || !parse(escaped)) return std::nullopt;
  const Components baseParts = componentsOf(base.absoluteString);
  Components target = componentsOf(escaped);
  std::string path = withoutDotSegments(target.path);
  if (target.scheme.empty()) {
    target.scheme = baseParts.scheme;
    if (target.authority.empty()) {
      target.authority = baseParts.authority;
      if (target.path.empty()) {
        path = baseParts.path;
        if (target.query.empty()) target.query = baseParts.query;
      } else if (!target.path.starts_with('/')) {
        path = withoutDotSegments(merged(baseParts, target.path));
      }
    }
  }

  std::string text(target.scheme);
  text += target.authority;
  // Without "/." the parser would read the path as an authority.
  if (target.authority.empty() && path.starts_with("//")) text += "/.";
  text += path;
  text += target.query;
  text += target.fragment;
  return parse(text);
}

}  // namespace orvel
