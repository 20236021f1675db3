// An http or https address, parsed for a request.
//
// Thread: any; plain values.

#pragma once

#include <string>

#include "base/result.h"
#include "fetch/source_policy.h"

namespace NimboEngine {

struct HttpUrl {
  SourceScheme scheme = SourceScheme::kHttp;
  std::string host;  // in ASCII, without the brackets of IPv6
  int port = 0;
  std::string target;    // path and query, with everything escaped that a request needs escaped
  std::string userInfo;  // "user:password", escaped; empty without a user

  bool isEncrypted() const { return scheme == SourceScheme::kHttps; }

  // "host" or "host:port", as the Host header has it.
  std::string authority() const;

  // The value of the Authorization header; empty without a user.
  std::string authorization() const;

  // The whole address, user and password included.
  std::string text() const;
};

// The text of an error repeats nothing of the address.
Result<HttpUrl> parseHttpUrl(const std::string& text);

// Resolves `reference`, found in the resource at `base`. Fails if it is not an address, or neither
// http nor https.
Result<HttpUrl> resolveHttpUrl(const std::string& base, const std::string& reference);

}  // namespace NimboEngine
