// kolvane-devserver: a local translation server for trying the review flow offline and for
// the SDK's end-to-end tests.
//   kolvane-devserver [--port N] [--db FILE] [--seed DIR] [--token-lifetime SECONDS]
//                     [--refresh-lifetime SECONDS] [--test-faults]
//                     [--import APP_LANG.ts]... [--project-id ID]
//   kolvane-devserver [--db FILE] [--import APP_LANG.ts]... [--project-id ID] --export-ts LOCALE
// --import makes project ID ("app" by default) of a Qt app's Linguist catalogues (with the
// demo project's users and workflows); --export-ts prints the catalogue of a locale of such a
// project as it stands and quits.
#include <httplib.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "base/saturating.h"
#include "linguist_project.h"
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
  std::vector<std::string> imports;
  std::string projectId = "app";
  std::string exportLocale;
  devserver::Options options;
};

[[noreturn]] void usage(const std::string& problem) {
  std::cerr << "kolvane-devserver: " << problem
            << "\nusage: kolvane-devserver [--port N] [--db FILE] [--seed DIR]"
               " [--token-lifetime SECONDS] [--refresh-lifetime SECONDS] [--test-faults]"
               " [--redirect-scheme SCHEME]... [--import FILE.ts]... [--project-id ID]"
               " [--export-ts LOCALE]\n";
  std::exit(2);
}

// A whole number from `lowest` to `highest`; anything else stops with a usage error.
long long number(const std::string& text, const std::string& flag, long long lowest,
                 long long highest) {
  const auto value = kolvane::saturatingIntegerFromText(text);
  if (!value) usage(flag + " needs a number, not \"" + text + "\"");
  if (*value < lowest || *value > highest) {
    usage(flag + " must be from " + std::to_string(lowest) + " to " + std::to_string(highest) +
          ", not " + text);
  }
  return *value;
}

// A century: long enough for any test, small enough that no date overflows.
constexpr long long kLongestLifetime = 100LL * 365 * 24 * 3600;

CommandLine parse(int argc, char** argv) {
  CommandLine line;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--test-faults") {
      line.options.faultsEnabled = true;
      continue;
    }
    if (i + 1 >= argc) usage(flag + " needs a value");
    if (flag == "--redirect-scheme") {
      line.options.redirectSchemes.insert(argv[++i]);
      continue;
    }
    const std::string value = argv[++i];
    if (flag == "--port")
      line.port = static_cast<int>(number(value, flag, 0, 65535));
    else if (flag == "--db")
      line.db = value;
    else if (flag == "--seed")
      line.seed = value;
    else if (flag == "--import")
      line.imports.push_back(value);
    else if (flag == "--project-id")
      line.projectId = value;
    else if (flag == "--export-ts")
      line.exportLocale = value;
    else if (flag == "--token-lifetime")
      line.options.tokenLifetime = number(value, flag, 1, kLongestLifetime);
    else if (flag == "--refresh-lifetime")
      line.options.refreshLifetime = number(value, flag, 1, kLongestLifetime);
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
    if (!line.imports.empty()) {
      devserver::importLinguist(store, line.projectId, line.imports,
                                line.seed.empty() ? KOLVANE_DEMO_SEED : line.seed);
    } else if (!line.exportLocale.empty()) {
      // Only the export: the database is read as it is.
    } else if (!line.seed.empty() || !store.hasProjects()) {
      devserver::loadSeed(store, line.seed.empty() ? KOLVANE_DEMO_SEED : line.seed);
    }
    if (!line.exportLocale.empty()) {
      std::cout << devserver::exportLinguist(store, line.projectId, line.exportLocale);
      return 0;
    }
    httplib::Server http;
    // Deadlines and limits, so that slow or huge requests cannot take the server from others:
    // a client must send something every two seconds, one request per connection, bodies up to
    // 16 MiB (refused from their Content-Length, before any byte is read), and enough workers
    // that a handful of stalled clients leaves the rest served.
    http.set_read_timeout(2);
    http.set_write_timeout(10);
    http.set_keep_alive_max_count(1);
    http.set_payload_max_length(16u << 20);
    http.new_task_queue = [] { return new httplib::ThreadPool(32); };
    devserver::Server server(store, line.options);
    server.install(http);
    const int port = line.port == 0 ? http.bind_to_any_port("127.0.0.1")
                                    : (http.bind_to_port("127.0.0.1", line.port) ? line.port : -1);
    if (port <= 0) {
      std::cerr << "kolvane-devserver: cannot listen on port " << line.port << "\n";
      return 1;
    }
    std::atomic<bool> listened{false};
    std::thread stopper([&http, &signals, &listened] {
      int received = 0;
      sigwait(&signals, &received);
      // A signal may come as soon as the line below is out, before the server runs; stopping a
      // server that does not run yet does nothing, so wait until it does (or gave up).
      while (!http.is_running() && !listened) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
      http.stop();
    });
    std::printf("listening on http://127.0.0.1:%d\n", port);
    std::fflush(stdout);
    http.listen_after_bind();
    listened = true;
    stopper.join();
  } catch (const std::exception& error) {
    std::cerr << "kolvane-devserver: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
