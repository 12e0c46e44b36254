// HTTP on libcurl: one worker thread drives a multi handle for every exchange in flight, and
// completions are handed to the main queue.
#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "kolvane/platform.h"

namespace kolvane {

class CurlTransport : public HttpTransport {
 public:
  explicit CurlTransport(MainQueue& mainQueue);
  ~CurlTransport() override;  // abandons exchanges in flight; their completions never run
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

  void send(HttpRequest request, std::function<void(HttpResponse)> completion) override;

  struct Exchange;

 private:
  void run();
  void startIncoming();
  void finishDone();

  MainQueue& mainQueue_;
  void* multi_;  // CURLM, kept out of this header
  std::mutex mutex_;
  std::vector<std::unique_ptr<Exchange>> incoming_;
  std::vector<std::unique_ptr<Exchange>> running_;  // worker thread only
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace kolvane
