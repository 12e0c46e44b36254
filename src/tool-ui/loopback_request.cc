// Reading a browser's request to the loopback listener. Whatever reaches the listener may come
// from any local process: nothing here trusts the bytes beyond their shape.
#include <algorithm>

#include "kolvane/tool_screens.h"

namespace kolvane {
namespace {

constexpr std::string_view kHeadersEnd = "\r\n\r\n";

// A target a browser sends: a path with its query, printable ASCII only.
bool plainTarget(std::string_view target) {
  return !target.empty() && target.front() == '/' &&
         std::all_of(target.begin(), target.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

}  // namespace

KVLoopbackRequest::State KVLoopbackRequest::append(std::string_view bytes) {
  if (state_ != State::reading) return state_;
  // The end of the headers may straddle two reads: look again from a little before the new
  // bytes.
  const std::size_t from = bytes_.size() >= 3 ? bytes_.size() - 3 : 0;
  bytes_.append(bytes.substr(0, kMaxBytes + 1 - std::min(bytes_.size(), kMaxBytes + 1)));
  const std::size_t end = bytes_.find(kHeadersEnd, from);
  if (end == std::string::npos || end + kHeadersEnd.size() > kMaxBytes) {
    if (bytes_.size() > kMaxBytes) state_ = State::refused;
    return state_;
  }
  readRequestLine();
  bytes_.clear();
  bytes_.shrink_to_fit();
  return state_;
}

void KVLoopbackRequest::readRequestLine() {
  const std::string_view all(bytes_);
  const std::string_view line = all.substr(0, all.find("\r\n"));
  const std::size_t firstSpace = line.find(' ');
  const std::size_t secondSpace =
      firstSpace == std::string_view::npos ? firstSpace : line.find(' ', firstSpace + 1);
  if (secondSpace == std::string_view::npos || line.substr(0, firstSpace) != "GET" ||
      !line.substr(secondSpace + 1).starts_with("HTTP/1.")) {
    state_ = State::refused;
    return;
  }
  const std::string_view target = line.substr(firstSpace + 1, secondSpace - firstSpace - 1);
  if (!plainTarget(target)) {
    state_ = State::refused;
    return;
  }
  target_ = std::string(target);
  state_ = State::complete;
}

}  // namespace kolvane
