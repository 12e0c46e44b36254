// The services Kolvane needs from the operating system. A host may install its own Platform
// once, before starting Kolvane; otherwise the built-in one for this system is used.
// Tests install fakes.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "kolvane/export.h"

namespace kolvane {

class Bundle;

// Runs tasks on the main thread.
class KOLVANE_EXPORT MainQueue {
 public:
  virtual ~MainQueue() = default;
  // Queues `task` to run on the main thread after the caller returns. Any thread may call.
  virtual void post(std::function<void()> task) = 0;
};

// The app's persistent settings, as JSON values by key. Main thread only.
class KOLVANE_EXPORT UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  virtual std::optional<nlohmann::json> objectForKey(std::string_view key) const = 0;
  virtual void setObject(std::string_view key, nlohmann::json value) = 0;
  virtual void removeObjectForKey(std::string_view key) = 0;
  // Writes the settings to disk now. False when that failed; the file on disk then still holds
  // the previous settings, whole.
  [[nodiscard]] virtual bool synchronize() = 0;
};

// What a strings table or property list file holds: key to text, or why it could not be read.
struct StringsFileError {
  std::string message;  // with the line number where the text format is at fault
};
using StringsTable = std::map<std::string, std::u16string>;
using StringsFileResult = std::variant<StringsTable, StringsFileError>;

// Why a write failed, in the terms a user can act on.
enum class FileWriteFailure { unknown, diskFull, notWritable };

// A file's bytes, kept readable while `owner` lives (a mapping of the file, or a copy).
struct FileBytes {
  std::shared_ptr<const void> owner;
  std::string_view bytes;
};

// Files and folders. Any thread may call.
class KOLVANE_EXPORT FileSystem {
 public:
  virtual ~FileSystem() = default;
  virtual bool fileExists(const std::string& path) const = 0;
  virtual std::optional<std::string> readFile(const std::string& path) const = 0;
  // Replaces the file whole: after a crash at any point the path holds either the old
  // contents or the new ones. Creates missing parent folders.
  [[nodiscard]] virtual bool writeFileAtomically(const std::string& path,
                                                 std::string_view bytes) = 0;
  // Writes the file in place (creating missing parent folders); a crash may leave it partial.
  [[nodiscard]] virtual bool writeFile(const std::string& path, std::string_view bytes) = 0;
  [[nodiscard]] virtual bool removeFile(const std::string& path) = 0;
  // When the file was made (its modification time where the file system keeps no birth
  // time), in seconds since 1970; none when it does not exist.
  virtual std::optional<double> creationDate(const std::string& path) const = 0;
  // Reads a ".strings" table (text, XML or binary property list) into key to text.
  virtual StringsFileResult readStringsFile(const std::string& path) const = 0;
  // Puts the file at `from` in the place of `to` in one step where the file system can (a
  // crash leaves the old `to` or the new one); `from` is gone afterwards. The default copies
  // atomically, then removes `from`.
  [[nodiscard]] virtual bool moveFile(const std::string& from, const std::string& to);
  // Why the calling thread's last failed write or removal failed; unknown where the file
  // system cannot tell.
  virtual FileWriteFailure lastWriteFailure() const { return FileWriteFailure::unknown; }
  // The file's bytes, mapped where the file system can (the file must then be replaced only
  // whole, never rewritten in place); the default reads it.
  virtual std::optional<FileBytes> mapFile(const std::string& path) const;
};

// Unicode and locale services. Any thread may call.
class KOLVANE_EXPORT TextServices {
 public:
  virtual ~TextServices() = default;
  // Full Unicode lower-casing, independent of any locale.
  virtual std::u16string lowercase(std::u16string text) const = 0;
  virtual std::u16string uppercase(std::u16string text) const = 0;
  // The identifier of the locale the process runs in (such as en_US).
  virtual std::string currentLocaleIdentifier() const = 0;
  // The user's languages, most preferred first (such as "fr_FR", "en").
  virtual std::vector<std::string> preferredLanguages() const = 0;
  virtual std::string languageCode(std::string_view localeIdentifier) const = 0;
  virtual std::string countryCode(std::string_view localeIdentifier) const = 0;
  // Display names in the current locale; none when the code is not known.
  virtual std::optional<std::string> languageDisplayName(std::string_view languageCode) const = 0;
  virtual std::optional<std::string> countryDisplayName(std::string_view countryCode) const = 0;
  // A moment (seconds since 1970) in the current locale's short date and short time styles.
  // The default writes "2026-11-23 14:05" in local time.
  virtual std::u16string shortDateTime(double secondsSince1970) const;
};

// Where log lines go. Any thread may call.
class KOLVANE_EXPORT LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void writeLine(std::string_view line) = 0;
};

// HTTP header names compare without regard to case.
KOLVANE_EXPORT bool sameHeaderName(std::string_view a, std::string_view b);

// One HTTP exchange as the server sees it: everything is framed before it reaches the transport.
struct KOLVANE_EXPORT HttpRequest {
  std::string method;
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;  // sent in this order
  std::string body;
  double timeout = 0;  // seconds for the whole exchange; 0 for the transport's default (60)

  // Replaces a header of the same name (compared without case) or adds it at the end.
  void setHeader(std::string name, std::string value);
};

// What came back: a status and body, or why nothing came back.
struct HttpResponse {
  long status = 0;                                           // 0 when the exchange failed
  std::vector<std::pair<std::string, std::string>> headers;  // as received, names as sent
  std::string body;
  // Set when no answer arrived (no connection, time-out, TLS failure): a code of the
  // transport and a message for people.
  std::optional<std::pair<long, std::string>> failure;
};

// Sends requests. Any thread may call; `completion` always runs on the main queue. The
// transport adds only what HTTP needs to carry the request (Host, Content-Length); it never
// adds "Accept" or "Expect" on its own, and it verifies TLS peers. Redirects are not followed:
// a 3xx answer comes back as it is, with its "Location" header (the sign-on page redirects to
// the app's own scheme, which only the caller can take).
class KOLVANE_EXPORT HttpTransport {
 public:
  virtual ~HttpTransport() = default;
  virtual void send(HttpRequest request, std::function<void(HttpResponse)> completion) = 0;
};

// The secure per-user store of small values. Items are found by service, account and access
// group (no group: any group). Main thread only.
struct KeychainQuery {
  std::string service;
  std::string account;
  std::optional<std::string> accessGroup;
};
enum class KeychainStatus { success, itemNotFound, failure };
struct KeychainItem {
  std::string data;
  std::string accessGroup;  // the store gives one when the item was added without
};
class KOLVANE_EXPORT Keychain {
 public:
  virtual ~Keychain() = default;
  // Adds an item; an item matching the query already there is a failure.
  [[nodiscard]] virtual KeychainStatus add(const KeychainQuery& query, std::string_view data) = 0;
  virtual KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) = 0;
  [[nodiscard]] virtual KeychainStatus remove(const KeychainQuery& query) = 0;
};

class KOLVANE_EXPORT Platform {
 public:
  virtual ~Platform() = default;

  virtual MainQueue& mainQueue() = 0;
  virtual UserDefaults& userDefaults() = 0;
  virtual FileSystem& fileSystem() = 0;
  virtual const TextServices& textServices() const = 0;
  virtual LogSink& logSink() = 0;
  virtual HttpTransport& httpTransport() = 0;
  virtual Keychain& keychain() = 0;
  // The application's own bundle.
  virtual const Bundle& mainBundle() const = 0;
  // The user's documents folder for this app (not created here).
  virtual std::string documentsFolder() const = 0;
  // Seconds since 1970.
  virtual double now() const = 0;
  // The hardware model of the machine (the `machine` field of uname).
  virtual std::string deviceName() const = 0;
  // The operating system's version text (the `release` field of uname).
  virtual std::string systemVersion() const = 0;

  // The installed platform, or the default one made on first use.
  static Platform& current();
  // The default platform of this system. The library of the system's platform defines it (on
  // Linux, the built-in Linux platform), so the portable code never names a system.
  static std::shared_ptr<Platform> makeDefault();
  // Installs `platform` for the whole process. Call it before starting Kolvane, while no other
  // thread uses Kolvane. The previous platform stays alive until the process ends, so
  // references to it stay valid.
  static void install(std::shared_ptr<Platform> platform);
};

}  // namespace kolvane
