// The failure report handed to completions and returned by operations that can fail, with the
// domains and codes the runtime reports.
#pragma once

#include <string>
#include <utility>

namespace kolvane {

struct KVError {
  KVError() = default;
  KVError(std::string errorDomain, long errorCode, std::string description,
          std::string technicalDetails = {})
      : domain(std::move(errorDomain)),
        code(errorCode),
        localizedDescription(std::move(description)),
        details(std::move(technicalDetails)) {}

  std::string domain;
  long code = 0;
  std::string localizedDescription;  // for the reviewer: what happened and what to do
  std::string details;               // for whoever looks further: the technical cause
};

inline constexpr char kKVErrorDomainServer[] = "server";  // code: the HTTP status
inline constexpr char kKVErrorDomainAuth[] = "auth";
inline constexpr char kKVErrorDomainApp[] = "app";
inline constexpr char kKVErrorDomainAnalytics[] = "analytics";
inline constexpr char kKVErrorDomainXml[] = "xml";  // code: libxml2's error
inline constexpr char kKVErrorDomainFile[] = "file";
inline constexpr char kKVErrorDomainNetwork[] = "network";  // code: the transport's
inline constexpr char kKVErrorDomainJson[] = "json";

// The runtime's own failures that have no better code.
inline constexpr long kKVErrorCodeInternal = 500;
// A file that should be read is not there (the platform's "no such file" read error).
inline constexpr long kKVErrorCodeFileReadNoSuchFile = 260;
// A file could not be written (the platform's unknown write error).
inline constexpr long kKVErrorCodeFileWriteUnknown = 512;
// Data that is not the JSON object or array expected (the platform's corrupt-data error).
inline constexpr long kKVErrorCodeJsonCorrupt = 3840;
// A server answer holding a text or a list larger than Kolvane takes.
inline constexpr long kKVErrorCodeJsonOutOfBounds = 3841;
// The network layer: no answer came back; no server address in this environment.
inline constexpr long kKVErrorCodeNoAnswer = 0;
inline constexpr long kKVErrorCodeNoServerAddress = 3;

}  // namespace kolvane
