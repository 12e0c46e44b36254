// User defaults kept as one JSON object in a file, read on first use and written atomically
// by synchronize(). Guarded by a mutex, though the runtime uses it from the main thread.
#pragma once

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

#include "kolvane/platform.h"

namespace kolvane {

class JsonUserDefaults : public UserDefaults {
 public:
  explicit JsonUserDefaults(std::string path) : path_(std::move(path)) {}
  ~JsonUserDefaults() override;

  std::optional<nlohmann::json> objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, nlohmann::json value) override;
  void removeObjectForKey(std::string_view key) override;
  bool synchronize() override;

  const std::string& path() const { return path_; }

 private:
  // A file that is not a JSON object is set aside, never overwritten unread.
  void loadIfNeeded() const;

  std::string path_;
  mutable std::mutex mutex_;
  mutable bool loaded_ = false;
  mutable nlohmann::json values_ = nlohmann::json::object();
  bool changed_ = false;
};

}  // namespace kolvane
