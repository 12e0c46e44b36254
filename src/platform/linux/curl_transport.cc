#include "platform/linux/curl_transport.h"

#include <curl/curl.h>

#include <algorithm>
#include <string>

#include "base/callback_guard.h"
#include "base/saturating.h"

namespace kolvane {
namespace {

// An answer bigger than this is not a translation file or an API answer; refusing it keeps a
// misbehaving server from filling the app's memory.
constexpr std::size_t kMaxBodyBytes = 256u * 1024 * 1024;
constexpr long kDefaultTimeoutMs = 60'000;

void initializeCurlOnce() {
  static const bool initialized = [] { return curl_global_init(CURL_GLOBAL_DEFAULT) == 0; }();
  (void)initialized;
}

bool hasHeader(const HttpRequest& request, std::string_view name) {
  return std::any_of(request.headers.begin(), request.headers.end(),
                     [name](const auto& header) { return sameHeaderName(header.first, name); });
}

}  // namespace

struct CurlTransport::Exchange {
  HttpRequest request;
  std::function<void(HttpResponse)> completion;
  HttpResponse response;
  CURL* easy = nullptr;
  curl_slist* headers = nullptr;
  char errorText[CURL_ERROR_SIZE] = {};
  bool tooBig = false;

  ~Exchange() {
    if (easy != nullptr) curl_easy_cleanup(easy);
    curl_slist_free_all(headers);
  }

  // Both callbacks answer 0 to make curl stop with a write error.
  static size_t collect(char* data, size_t size, size_t count, void* context) {
    return guardCallback("Receiving an answer", size_t{0}, [&]() -> size_t {
      auto* exchange = static_cast<Exchange*>(context);
      const size_t bytes = size * count;
      if (exchange->response.body.size() + bytes > kMaxBodyBytes) {
        exchange->tooBig = true;
        return 0;
      }
      exchange->response.body.append(data, bytes);
      return bytes;
    });
  }

  static size_t collectHeader(char* data, size_t size, size_t count, void* context) {
    return guardCallback("Receiving headers", size_t{0}, [&] {
      return keepHeader(static_cast<Exchange*>(context), data, size * count);
    });
  }

  static size_t keepHeader(Exchange* exchange, char* data, size_t bytes) {
    std::string_view line(data, bytes);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
    if (line.rfind("HTTP/", 0) == 0) {
      exchange->response.headers.clear();  // a new status line: an interim answer went before
    } else if (const auto colon = line.find(':'); colon != std::string_view::npos) {
      std::string_view value = line.substr(colon + 1);
      while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
      exchange->response.headers.emplace_back(line.substr(0, colon), value);
    }
    return bytes;
  }

  void addHeader(const std::string& line) {
    if (curl_slist* grown = curl_slist_append(headers, line.c_str())) headers = grown;
  }

  bool prepare() {
    easy = curl_easy_init();
    if (easy == nullptr) return false;
    for (const auto& [name, value] : request.headers) addHeader(name + ": " + value);
    // Only what the caller framed goes out: no default "Accept", no "Expect: 100-continue".
    if (!hasHeader(request, "Accept")) addHeader("Accept:");
    addHeader("Expect:");

    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Exchange::collectHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Exchange::collect);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    const long timeoutMs =
        request.timeout > 0 ? saturatingCast<long>(request.timeout * 1000) : kDefaultTimeoutMs;
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, std::max(timeoutMs, 1L));
    if (request.method == "GET") {
      curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
    } else {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.data());
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                       static_cast<curl_off_t>(request.body.size()));
      if (request.method != "POST") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
      }
    }
    return true;
  }

  void finish(CURLcode result) {
    if (result == CURLE_OK) {
      curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &response.status);
      return;
    }
    response.status = 0;
    response.headers.clear();
    response.body.clear();
    std::string message = tooBig                 ? "The answer is too large"
                          : errorText[0] != '\0' ? std::string(errorText)
                                                 : std::string(curl_easy_strerror(result));
    response.failure.emplace(static_cast<long>(result), std::move(message));
  }
};

CurlTransport::CurlTransport(MainQueue& mainQueue) : mainQueue_(mainQueue) {
  initializeCurlOnce();
  multi_ = curl_multi_init();
  worker_ = std::thread([this] { run(); });
}

CurlTransport::~CurlTransport() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  curl_multi_wakeup(static_cast<CURLM*>(multi_));
  worker_.join();
  for (auto& exchange : running_) {
    curl_multi_remove_handle(static_cast<CURLM*>(multi_), exchange->easy);
  }
  running_.clear();
  curl_multi_cleanup(static_cast<CURLM*>(multi_));
}

void CurlTransport::send(HttpRequest request, std::function<void(HttpResponse)> completion) {
  auto exchange = std::make_unique<Exchange>();
  exchange->request = std::move(request);
  exchange->completion = std::move(completion);
  {
    std::lock_guard lock(mutex_);
    incoming_.push_back(std::move(exchange));
  }
  curl_multi_wakeup(static_cast<CURLM*>(multi_));
}

void CurlTransport::run() {
  auto* multi = static_cast<CURLM*>(multi_);
  for (;;) {
    {
      std::lock_guard lock(mutex_);
      if (stopping_) return;
    }
    startIncoming();
    int stillRunning = 0;
    curl_multi_perform(multi, &stillRunning);
    finishDone();
    curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
  }
}

void CurlTransport::startIncoming() {
  std::vector<std::unique_ptr<Exchange>> arrived;
  {
    std::lock_guard lock(mutex_);
    arrived.swap(incoming_);
  }
  for (auto& exchange : arrived) {
    if (!exchange->prepare() ||
        curl_multi_add_handle(static_cast<CURLM*>(multi_), exchange->easy) != CURLM_OK) {
      HttpResponse failed;
      failed.failure.emplace(static_cast<long>(CURLE_FAILED_INIT), "The request could not start");
      mainQueue_.post(
          [completion = std::move(exchange->completion), failed] { completion(failed); });
      continue;
    }
    running_.push_back(std::move(exchange));
  }
}

void CurlTransport::finishDone() {
  auto* multi = static_cast<CURLM*>(multi_);
  int left = 0;
  while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto found = std::find_if(running_.begin(), running_.end(), [message](const auto& e) {
      return e->easy == message->easy_handle;
    });
    if (found == running_.end()) continue;
    std::unique_ptr<Exchange> exchange = std::move(*found);
    running_.erase(found);
    exchange->finish(message->data.result);
    curl_multi_remove_handle(multi, exchange->easy);
    mainQueue_.post([completion = std::move(exchange->completion),
                     response = std::move(exchange->response)] { completion(response); });
  }
}

}  // namespace kolvane
