#include "support/devserver_process.h"

#include <curl/curl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#ifndef KOLVANE_DEVSERVER
#error "KOLVANE_DEVSERVER names the server executable"
#endif

namespace kolvane::testing {

DevServerProcess::DevServerProcess(std::vector<std::string> arguments, bool forTests) {
  int output[2];
  if (::pipe(output) != 0) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, output[0]);
  if (forTests) {
    arguments.insert(arguments.begin(), {"--test-faults", "--redirect-scheme", "kolvane-test"});
  }
  arguments.insert(arguments.begin(), KOLVANE_DEVSERVER);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int spawned =
      posix_spawn(&pid_, KOLVANE_DEVSERVER, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(output[1]);
  if (spawned != 0) {
    pid_ = -1;
    ::close(output[0]);
    return;
  }
  FILE* lines = ::fdopen(output[0], "r");
  char line[256] = {};
  if (lines != nullptr && std::fgets(line, sizeof line, lines) != nullptr) {
    const std::string text(line);
    const std::string prefix = "listening on ";
    if (text.rfind(prefix, 0) == 0)
      baseUrl_ = text.substr(prefix.size(), text.size() - prefix.size() - 1);
  }
  if (lines != nullptr) std::fclose(lines);
}

DevServerProcess::~DevServerProcess() { stop(); }

int DevServerProcess::stop() {
  if (pid_ <= 0) return -1;
  ::kill(pid_, SIGTERM);
  int status = 0;
  // A server that does not stop fails the test (its status is not a clean exit) instead of
  // holding the run until its time-out.
  for (int waited = 0; ::waitpid(pid_, &status, WNOHANG) == 0; ++waited) {
    if (waited == 500) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, &status, 0);
      break;
    }
    ::usleep(10'000);
  }
  pid_ = -1;
  baseUrl_.clear();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

namespace {
size_t collect(char* data, size_t size, size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}
}  // namespace

DirectAnswer directRequest(const std::string& method, const std::string& url,
                           const std::string& body, const std::string& contentType,
                           const std::vector<std::string>& extraHeaders) {
  DirectAnswer answer;
  CURL* easy = curl_easy_init();
  curl_slist* headers = nullptr;
  if (!contentType.empty())
    headers = curl_slist_append(headers, ("Content-Type: " + contentType).c_str());
  for (const std::string& header : extraHeaders)
    headers = curl_slist_append(headers, header.c_str());
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
  if (method != "GET") {
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  }
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &collect);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer.body);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT, 10L);
  if (curl_easy_perform(easy) == CURLE_OK) {
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &answer.status);
    char* location = nullptr;
    curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &location);
    if (location != nullptr) answer.location = location;
  }
  curl_slist_free_all(headers);
  curl_easy_cleanup(easy);
  return answer;
}

}  // namespace kolvane::testing
