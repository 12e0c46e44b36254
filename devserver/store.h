// The dev server's state in SQLite: projects (their settings as JSON), string units, texts by
// locale and workflow step, tokens, authorisation codes, issues and captures. One connection
// behind a mutex; every call is one short transaction.
#pragma once

#include <sqlite3.h>

#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace devserver {

struct Unit {
  std::string id;        // the hash code, with "[category]" for a plural form
  std::string hashcode;  // the hash code alone
  std::string key;
};

struct Text {
  Unit unit;
  std::string step;    // the workflow step the text sits in
  std::string target;  // inner XML of the target, placeholders as <ph> elements
};

struct Grant {
  std::string username;
  double expires = 0;
};

// Where a traced text stands in a capture, in image pixels.
struct TextFrame {
  std::string text;  // as it was shown
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

// A traced text and the keys of the strings it was built from (distinct).
struct CaptureRegion {
  std::vector<std::string> keys;
  TextFrame frame;
};

struct NewCapture {
  std::string project;
  std::string locale;
  std::string uploader;
  std::string image;   // PNG
  double created = 0;  // seconds since 1970
  int width = 0;
  int height = 0;
  std::vector<CaptureRegion> regions;
};

struct StoredCapture {
  long long id = 0;                    // 0: not kept, since it shows no key of the project
  std::set<std::string> attachedKeys;  // keys the project has units for
  std::set<std::string> unknownKeys;   // the others, not stored
};

// A capture as shown for one key: only the frames of that key.
struct KeyCapture {
  long long id = 0;
  int width = 0;
  int height = 0;
  std::vector<TextFrame> frames;
};

class Store {
 public:
  // ":memory:" or a file, made when missing. Throws std::runtime_error when it can't be opened.
  explicit Store(const std::string& path);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  bool hasProjects();
  void putProject(const nlohmann::json& settings);
  std::optional<nlohmann::json> project(const std::string& id);
  // A user of any project, by name.
  std::optional<nlohmann::json> user(const std::string& username);

  void putUnit(const std::string& project, const Unit& unit);
  // All in one transaction.
  void putUnits(const std::string& project, const std::vector<Unit>& units);
  std::vector<Unit> unitsOfHashcode(const std::string& project, const std::string& hashcode);
  std::optional<Unit> unit(const std::string& project, const std::string& id);

  // Puts the texts of units in steps, all or none in one transaction; a unit is pending in one
  // step at a time, so its texts in other pending steps go. `publishedStep` is the project's
  // last step.
  struct TextPut {
    std::string unitId;
    std::string step;
    std::string target;
  };
  void putTexts(const std::string& project, const std::string& locale,
                const std::vector<TextPut>& texts, const std::string& publishedStep);
  std::vector<Text> textsInStep(const std::string& project, const std::string& locale,
                                const std::string& step);
  std::optional<std::string> textOf(const std::string& project, const std::string& locale,
                                    const std::string& unitId, const std::string& step);
  // Moves the unit's text from one step to another (replacing what is there), in one
  // transaction.
  bool moveText(const std::string& project, const std::string& locale, const std::string& unitId,
                const std::string& from, const std::string& to);

  // Also forgets every grant that has expired.
  void putGrant(const std::string& kind, const std::string& value, const Grant& grant);
  std::optional<Grant> grant(const std::string& kind, const std::string& value);
  // Finds and removes the grant in one step, so that it is redeemed once however many ask.
  std::optional<Grant> takeGrant(const std::string& kind, const std::string& value);
  void removeGrant(const std::string& kind, const std::string& value);

  void addIssue(const std::string& project, const nlohmann::json& issue);
  int issueCount(const std::string& project);
  std::vector<nlohmann::json> issues(const std::string& project);

  // Stores the capture with each region attached to those of its keys the project has units
  // for, and lets the oldest captures of its project and locale go beyond the `kept` newest;
  // all in one transaction.
  StoredCapture putCapture(const NewCapture& capture, std::size_t kept);
  // Every key of the locale that has captures, with how many, by key.
  std::vector<std::pair<std::string, int>> capturedKeys(const std::string& project,
                                                        const std::string& locale);
  // The `most` newest captures holding the key, newest first, each with the key's frames.
  std::vector<KeyCapture> capturesOfKey(const std::string& project, const std::string& locale,
                                        const std::string& key, std::size_t most);
  // The PNG of a capture of the project; none for another project's or an unknown id.
  std::optional<std::string> captureImage(const std::string& project, const std::string& id);
  int captureCount(const std::string& project, const std::string& locale);

 private:
  class Statement;
  class Transaction;
  void execute(const char* sql);
  std::optional<Grant> grantLocked(const std::string& kind, const std::string& value);
  std::optional<std::string> textOfLocked(const std::string& project, const std::string& locale,
                                          const std::string& unitId, const std::string& step);
  bool hasKeyLocked(const std::string& project, const std::string& key);
  struct RegionWriter;
  void attachRegion(const std::string& project, const CaptureRegion& region, RegionWriter& writer,
                    StoredCapture& stored);
  void dropOldCapturesLocked(const std::string& project, const std::string& locale,
                             std::size_t kept);

  std::mutex mutex_;
  sqlite3* db_ = nullptr;
};

}  // namespace devserver
