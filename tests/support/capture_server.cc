#include "support/capture_server.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace kolvane::testing {
namespace {

// Bytes of a whole request: the headers and as many body bytes as Content-Length says.
bool complete(const std::string& bytes) {
  const auto end = bytes.find("\r\n\r\n");
  if (end == std::string::npos) return false;
  const auto length = bytes.find("Content-Length: ");
  if (length == std::string::npos || length > end) return true;
  return bytes.size() >= end + 4 + std::strtoul(bytes.c_str() + length + 16, nullptr, 10);
}

}  // namespace

CaptureServer::CaptureServer() : answer_(answer(200, "{}")) {
  listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
  ::listen(listener_, 8);
  socklen_t size = sizeof address;
  ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

CaptureServer::~CaptureServer() {
  stopping_ = true;
  thread_.join();
  ::close(listener_);
}

void CaptureServer::setAnswer(std::string raw) {
  std::lock_guard lock(mutex_);
  answer_ = std::move(raw);
}

std::string CaptureServer::answer(int status, const std::string& body) {
  return "HTTP/1.1 " + std::to_string(status) +
         " Status\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nConnection: close\r\n\r\n" + body;
}

std::vector<std::string> CaptureServer::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

void CaptureServer::serve() {
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 20) <= 0) continue;
    const int connection = ::accept(listener_, nullptr, nullptr);
    if (connection < 0) continue;
    handle(connection);
    ::close(connection);
  }
}

void CaptureServer::handle(int connection) {
  std::string bytes;
  char buffer[4096];
  while (!complete(bytes)) {
    pollfd waiting{connection, POLLIN, 0};
    if (::poll(&waiting, 1, 2000) <= 0) break;
    const ssize_t received = ::recv(connection, buffer, sizeof buffer, 0);
    if (received <= 0) break;
    bytes.append(buffer, static_cast<std::size_t>(received));
  }
  std::string reply;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(bytes);
    reply = answer_;
  }
  std::size_t sent = 0;
  while (sent < reply.size()) {
    const ssize_t written =
        ::send(connection, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
    if (written <= 0) break;
    sent += static_cast<std::size_t>(written);
  }
}

}  // namespace kolvane::testing
