// Code called back by a C library (libcurl, libxml2, GLib) must not let an exception unwind
// through the library's frames: that is undefined behaviour and usually ends the process.
#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"

namespace kolvane {

// Runs `body` and gives its result; an exception is caught, logged with `where`, and
// `onException` is given instead.
template <typename Result, typename Body>
Result guardCallback(std::string_view where, Result onException, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception& error) {
    kvLog(std::string(where) + " failed: " + error.what());
  } catch (...) {
    kvLog(std::string(where) + " failed");
  }
  return onException;
}

// The same for callbacks without a result; true when `body` ran to its end.
template <typename Body>
bool guardCallback(std::string_view where, Body&& body) noexcept {
  return guardCallback(where, false, [&body] {
    std::forward<Body>(body)();
    return true;
  });
}

}  // namespace kolvane
