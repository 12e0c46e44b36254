// Any bytes a local process sends the login's loopback, cut into reads at any points: a
// target only from a whole GET request within the bound, never a crash or an overread.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kolvane/tool_screens.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  kolvane::KVLoopbackRequest request;
  // Each read's length comes from the input itself, so the fuzzer explores the splits too.
  while (!bytes.empty()) {
    const std::size_t length = 1 + static_cast<unsigned char>(bytes.front()) % 64;
    bytes.remove_prefix(1);
    request.append(bytes.substr(0, length));
    bytes.remove_prefix(std::min(length, bytes.size()));
  }
  const bool complete = request.state() == kolvane::KVLoopbackRequest::State::complete;
  if (complete != !request.target().empty()) __builtin_trap();
  if (request.target().size() > kolvane::KVLoopbackRequest::kMaxBytes) __builtin_trap();
  return 0;
}
