// The public half of the project's release key: only archives signed by it, or by the key of
// the signed installation being replaced, are installed. The private half never enters the
// repository.
#pragma once

namespace vistrel {

inline constexpr const char* trustedReleaseKeyPEM = R"(-----BEGIN PUBLIC KEY-----
MCowBQYDK2VwAyEAExHKJjyrLQelZawA8358/BLhXpWdJRROzVAsig083z8=
-----END PUBLIC KEY-----
)";

}  // namespace vistrel
