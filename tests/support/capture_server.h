// A one-request-at-a-time HTTP peer on 127.0.0.1 that records the exact bytes it receives and
// answers with bytes the test chose, so that tests see what really went over the wire.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kolvane::testing {

class CaptureServer {
 public:
  CaptureServer();
  ~CaptureServer();
  CaptureServer(const CaptureServer&) = delete;
  CaptureServer& operator=(const CaptureServer&) = delete;

  std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }
  int port() const { return port_; }
  // The raw answer to every following request; an empty one closes the connection unanswered.
  void setAnswer(std::string raw);
  // A whole answer with status, body and "Connection: close".
  static std::string answer(int status, const std::string& body);
  std::vector<std::string> requests() const;

 private:
  void serve();
  void handle(int connection);

  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::string answer_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace kolvane::testing
