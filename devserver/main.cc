// kolvane-devserver: a local translation server for trying the review flow offline and for
// the SDK's end-to-end tests.
//   kolvane-devserver [--port N] [--db FILE] [--seed DIR] [--token-lifetime SECONDS]
//                     [--refresh-lifetime SECONDS]
#include <httplib.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "seed.h"
#include "server.h"

#ifndef KOLVANE_DEMO_SEED
#define KOLVANE_DEMO_SEED "examples/DemoProject"
#endif

namespace {

struct CommandLine {
  int port = 0;
  std::string db = ":memory:";
  std::string seed;
  devserver::Options options;
};

[[noreturn]] void usage(const std::string& problem) {
  std::cerr << "kolvane-devserver: " << problem
            << "\nusage: kolvane-devserver [--port N] [--db FILE] [--seed DIR]"
               " [--token-lifetime SECONDS] [--refresh-lifetime SECONDS]\n";
  std::exit(2);
}

double number(const std::string& text, const std::string& flag) {
  try {
    std::size_t used = 0;
    const double value = std::stod(text, &used);
    if (used == text.size() && value >= 0) return value;
  } catch (const std::exception&) {
  }
  usage(flag + " needs a number, not \"" + text + "\"");
}

CommandLine parse(int argc, char** argv) {
  CommandLine line;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (i + 1 >= argc) usage(flag + " needs a value");
    const std::string value = argv[++i];
    if (flag == "--port")
      line.port = static_cast<int>(number(value, flag));
    else if (flag == "--db")
      line.db = value;
    else if (flag == "--seed")
      line.seed = value;
    else if (flag == "--token-lifetime")
      line.options.tokenLifetime = number(value, flag);
    else if (flag == "--refresh-lifetime")
      line.options.refreshLifetime = number(value, flag);
    else
      usage("unknown option " + flag);
  }
  return line;
}

}  // namespace

int main(int argc, char** argv) {
  const CommandLine line = parse(argc, argv);
  // Signals are taken by one thread that stops the server; every other thread blocks them.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    devserver::Store store(line.db);
    if (!line.seed.empty() || !store.hasProjects()) {
      devserver::loadSeed(store, line.seed.empty() ? KOLVANE_DEMO_SEED : line.seed);
    }
    httplib::Server http;
    devserver::Server server(store, line.options);
    server.install(http);
    const int port = line.port == 0 ? http.bind_to_any_port("127.0.0.1")
                                    : (http.bind_to_port("127.0.0.1", line.port) ? line.port : -1);
    if (port <= 0) {
      std::cerr << "kolvane-devserver: cannot listen on port " << line.port << "\n";
      return 1;
    }
    std::thread stopper([&http, &signals] {
      int received = 0;
      sigwait(&signals, &received);
      http.stop();
    });
    std::printf("listening on http://127.0.0.1:%d\n", port);
    std::fflush(stdout);
    http.listen_after_bind();
    stopper.join();
  } catch (const std::exception& error) {
    std::cerr << "kolvane-devserver: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
