// Any access token text through the claims decoding: none or claims, never a crash.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "server/session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view token(reinterpret_cast<const char*>(data), size);
  kolvane::KVSession::userInfoFromToken(token);
  return 0;
}
