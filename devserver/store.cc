#include "store.h"

#include <chrono>
#include <stdexcept>

namespace devserver {

// A prepared statement with its text bindings, finalised when it goes.
class Store::Statement {
 public:
  Statement(sqlite3* db, const char* sql, std::initializer_list<std::string> values) : db_(db) {
    if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(db));
    }
    int index = 1;
    for (const std::string& value : values) bindText(index++, value);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  bool step() { return sqlite3_step(statement_) == SQLITE_ROW; }
  std::string text(int column) {
    const auto* value = sqlite3_column_text(statement_, column);
    return value ? std::string(reinterpret_cast<const char*>(value)) : std::string();
  }
  double number(int column) { return sqlite3_column_double(statement_, column); }
  long long integer(int column) { return sqlite3_column_int64(statement_, column); }
  std::string blob(int column) {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return bytes ? std::string(bytes,
                               static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)))
                 : std::string();
  }
  void bindNumber(int index, double value) { sqlite3_bind_double(statement_, index, value); }
  void bindInteger(int index, long long value) { sqlite3_bind_int64(statement_, index, value); }
  void bindText(int index, const std::string& value) {
    sqlite3_bind_text(statement_, index, value.c_str(), static_cast<int>(value.size()),
                      SQLITE_TRANSIENT);
  }
  void bindBlob(int index, const std::string& bytes) {
    sqlite3_bind_blob64(statement_, index, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
  }
  // Runs a write to its end, ready to run again with new bindings; throws when it fails, so
  // that the transaction around it is rolled back rather than committed in part.
  void run() {
    if (sqlite3_step(statement_) != SQLITE_DONE) {
      const std::string message = sqlite3_errmsg(db_);
      sqlite3_reset(statement_);
      throw std::runtime_error(message);
    }
    sqlite3_reset(statement_);
  }

 private:
  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

Store::Store(const std::string& path) {
  if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) {
    const std::string message = db_ ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close(db_);
    throw std::runtime_error("cannot open " + path + ": " + message);
  }
  execute(
      "PRAGMA journal_mode=WAL;"
      "PRAGMA synchronous=FULL;"
      "CREATE TABLE IF NOT EXISTS projects(id TEXT PRIMARY KEY, settings TEXT);"
      "CREATE TABLE IF NOT EXISTS units(project TEXT, id TEXT, hashcode TEXT, key TEXT,"
      " PRIMARY KEY(project, id));"
      "CREATE TABLE IF NOT EXISTS texts(project TEXT, locale TEXT, unit TEXT, step TEXT,"
      " target TEXT, PRIMARY KEY(project, locale, unit, step));"
      "CREATE TABLE IF NOT EXISTS grants(kind TEXT, value TEXT, username TEXT, expires REAL,"
      " PRIMARY KEY(kind, value));"
      "CREATE TABLE IF NOT EXISTS issues(id INTEGER PRIMARY KEY, project TEXT, issue TEXT);"
      "CREATE INDEX IF NOT EXISTS units_by_key ON units(project, key);"
      // Capture ids are never reused, so that an old image address never shows a newer one.
      "CREATE TABLE IF NOT EXISTS captures(id INTEGER PRIMARY KEY AUTOINCREMENT, project TEXT,"
      " locale TEXT, uploader TEXT, created REAL, width INTEGER, height INTEGER, image BLOB);"
      "CREATE INDEX IF NOT EXISTS captures_by_locale ON captures(project, locale, id);"
      // A region is kept once however many keys it has, so a capture takes about the room
      // it took to send.
      "CREATE TABLE IF NOT EXISTS capture_regions(id INTEGER PRIMARY KEY, capture INTEGER,"
      " text TEXT, x REAL, y REAL, width REAL, height REAL);"
      "CREATE INDEX IF NOT EXISTS capture_regions_by_capture ON capture_regions(capture);"
      "CREATE TABLE IF NOT EXISTS capture_keys(capture INTEGER, region INTEGER, key TEXT);"
      "CREATE INDEX IF NOT EXISTS capture_keys_by_key ON capture_keys(key, capture);"
      "CREATE INDEX IF NOT EXISTS capture_keys_by_capture ON capture_keys(capture);");
}

Store::~Store() { sqlite3_close(db_); }

void Store::execute(const char* sql) {
  char* error = nullptr;
  if (sqlite3_exec(db_, sql, nullptr, nullptr, &error) != SQLITE_OK) {
    const std::string message = error ? error : "unknown error";
    sqlite3_free(error);
    throw std::runtime_error(message);
  }
}

// BEGIN IMMEDIATE ... COMMIT around a group of writes; rolled back when left by an exception.
class Store::Transaction {
 public:
  explicit Transaction(Store& store) : store_(store) { store_.execute("BEGIN IMMEDIATE"); }
  ~Transaction() {
    if (!committed_) sqlite3_exec(store_.db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  void commit() {
    store_.execute("COMMIT");
    committed_ = true;
  }

 private:
  Store& store_;
  bool committed_ = false;
};

bool Store::hasProjects() {
  std::lock_guard lock(mutex_);
  return Statement(db_, "SELECT 1 FROM projects LIMIT 1", {}).step();
}

void Store::putProject(const nlohmann::json& settings) {
  std::lock_guard lock(mutex_);
  Statement(db_, "INSERT OR REPLACE INTO projects VALUES(?, ?)",
            {settings.at("id").get<std::string>(), settings.dump()})
      .step();
}

std::optional<nlohmann::json> Store::project(const std::string& id) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT settings FROM projects WHERE id = ?", {id});
  if (!query.step()) return std::nullopt;
  return nlohmann::json::parse(query.text(0));
}

std::optional<nlohmann::json> Store::user(const std::string& username) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT settings FROM projects", {});
  while (query.step()) {
    const auto settings = nlohmann::json::parse(query.text(0));
    for (const auto& user : settings.value("users", nlohmann::json::array())) {
      if (user.value("username", "") == username) return user;
    }
  }
  return std::nullopt;
}

void Store::putUnit(const std::string& project, const Unit& unit) { putUnits(project, {unit}); }

void Store::putUnits(const std::string& project, const std::vector<Unit>& units) {
  std::lock_guard lock(mutex_);
  Transaction transaction(*this);
  for (const Unit& unit : units) {
    Statement(db_, "INSERT OR REPLACE INTO units VALUES(?, ?, ?, ?)",
              {project, unit.id, unit.hashcode, unit.key})
        .step();
  }
  transaction.commit();
}

std::vector<Unit> Store::unitsOfHashcode(const std::string& project, const std::string& hashcode) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT id, hashcode, key FROM units WHERE project = ? AND hashcode = ?",
                  {project, hashcode});
  std::vector<Unit> units;
  while (query.step()) units.push_back({query.text(0), query.text(1), query.text(2)});
  return units;
}

std::optional<Unit> Store::unit(const std::string& project, const std::string& id) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT id, hashcode, key FROM units WHERE project = ? AND id = ?",
                  {project, id});
  if (!query.step()) return std::nullopt;
  return Unit{query.text(0), query.text(1), query.text(2)};
}

void Store::putTexts(const std::string& project, const std::string& locale,
                     const std::vector<TextPut>& texts, const std::string& publishedStep) {
  std::lock_guard lock(mutex_);
  Transaction transaction(*this);
  for (const auto& [unitId, step, target] : texts) {
    if (step != publishedStep) {
      Statement(db_,
                "DELETE FROM texts WHERE project = ? AND locale = ? AND unit = ? AND step != ?",
                {project, locale, unitId, publishedStep})
          .step();
    }
    Statement(db_, "INSERT OR REPLACE INTO texts VALUES(?, ?, ?, ?, ?)",
              {project, locale, unitId, step, target})
        .step();
  }
  transaction.commit();
}

std::vector<Text> Store::textsInStep(const std::string& project, const std::string& locale,
                                     const std::string& step) {
  std::lock_guard lock(mutex_);
  Statement query(db_,
                  "SELECT u.id, u.hashcode, u.key, t.step, t.target FROM texts t JOIN units u"
                  " ON u.project = t.project AND u.id = t.unit"
                  " WHERE t.project = ? AND t.locale = ? AND t.step = ? ORDER BY u.key, u.id",
                  {project, locale, step});
  std::vector<Text> texts;
  while (query.step()) {
    texts.push_back({{query.text(0), query.text(1), query.text(2)}, query.text(3), query.text(4)});
  }
  return texts;
}

std::optional<std::string> Store::textOf(const std::string& project, const std::string& locale,
                                         const std::string& unitId, const std::string& step) {
  std::lock_guard lock(mutex_);
  return textOfLocked(project, locale, unitId, step);
}

std::optional<std::string> Store::textOfLocked(const std::string& project,
                                               const std::string& locale, const std::string& unitId,
                                               const std::string& step) {
  Statement query(
      db_, "SELECT target FROM texts WHERE project = ? AND locale = ? AND unit = ? AND step = ?",
      {project, locale, unitId, step});
  if (!query.step()) return std::nullopt;
  return query.text(0);
}

bool Store::moveText(const std::string& project, const std::string& locale,
                     const std::string& unitId, const std::string& from, const std::string& to) {
  std::lock_guard lock(mutex_);
  const auto target = textOfLocked(project, locale, unitId, from);
  if (!target) return false;
  Transaction transaction(*this);
  Statement(db_, "DELETE FROM texts WHERE project = ? AND locale = ? AND unit = ? AND step = ?",
            {project, locale, unitId, from})
      .step();
  Statement(db_, "INSERT OR REPLACE INTO texts VALUES(?, ?, ?, ?, ?)",
            {project, locale, unitId, to, *target})
      .step();
  transaction.commit();
  return true;
}

void Store::putGrant(const std::string& kind, const std::string& value, const Grant& grant) {
  std::lock_guard lock(mutex_);
  // Expired grants go as new ones come, so the table holds only live ones.
  Statement purge(db_, "DELETE FROM grants WHERE expires < ?", {});
  purge.bindNumber(
      1,
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
  purge.step();
  Statement insert(db_, "INSERT OR REPLACE INTO grants VALUES(?, ?, ?, ?)",
                   {kind, value, grant.username});
  insert.bindNumber(4, grant.expires);
  insert.step();
}

std::optional<Grant> Store::grant(const std::string& kind, const std::string& value) {
  std::lock_guard lock(mutex_);
  return grantLocked(kind, value);
}

std::optional<Grant> Store::grantLocked(const std::string& kind, const std::string& value) {
  Statement query(db_, "SELECT username, expires FROM grants WHERE kind = ? AND value = ?",
                  {kind, value});
  if (!query.step()) return std::nullopt;
  return Grant{query.text(0), query.number(1)};
}

std::optional<Grant> Store::takeGrant(const std::string& kind, const std::string& value) {
  std::lock_guard lock(mutex_);
  auto taken = grantLocked(kind, value);
  if (taken) {
    Statement(db_, "DELETE FROM grants WHERE kind = ? AND value = ?", {kind, value}).step();
  }
  return taken;
}

void Store::removeGrant(const std::string& kind, const std::string& value) {
  std::lock_guard lock(mutex_);
  Statement(db_, "DELETE FROM grants WHERE kind = ? AND value = ?", {kind, value}).step();
}

void Store::addIssue(const std::string& project, const nlohmann::json& issue) {
  std::lock_guard lock(mutex_);
  Statement(db_, "INSERT INTO issues(project, issue) VALUES(?, ?)", {project, issue.dump()}).step();
}

int Store::issueCount(const std::string& project) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT COUNT(*) FROM issues WHERE project = ?", {project});
  return query.step() ? static_cast<int>(query.number(0)) : 0;
}

std::vector<nlohmann::json> Store::issues(const std::string& project) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT issue FROM issues WHERE project = ? ORDER BY rowid", {project});
  std::vector<nlohmann::json> found;
  while (query.step()) found.push_back(nlohmann::json::parse(query.text(0), nullptr, false));
  return found;
}

// The statements a capture's regions are written with, made once for all of them.
struct Store::RegionWriter {
  Statement region;
  Statement key;
};

StoredCapture Store::putCapture(const NewCapture& capture, std::size_t kept) {
  std::lock_guard lock(mutex_);
  Transaction transaction(*this);
  Statement insert(db_,
                   "INSERT INTO captures(project, locale, uploader, created, width, height, image)"
                   " VALUES(?, ?, ?, ?, ?, ?, ?)",
                   {capture.project, capture.locale, capture.uploader});
  insert.bindNumber(4, capture.created);
  insert.bindInteger(5, capture.width);
  insert.bindInteger(6, capture.height);
  insert.bindBlob(7, capture.image);
  insert.run();
  StoredCapture stored;
  stored.id = sqlite3_last_insert_rowid(db_);
  RegionWriter writer{{db_,
                       "INSERT INTO capture_regions(capture, text, x, y, width, height)"
                       " VALUES(?, ?, ?, ?, ?, ?)",
                       {}},
                      {db_, "INSERT INTO capture_keys(capture, region, key) VALUES(?, ?, ?)", {}}};
  for (const CaptureRegion& region : capture.regions) {
    attachRegion(capture.project, region, writer, stored);
  }
  // A capture that shows no string of the project is shown nowhere: it is not kept, so it
  // cannot push out captures that are.
  if (stored.attachedKeys.empty()) {
    stored.id = 0;
    return stored;
  }
  dropOldCapturesLocked(capture.project, capture.locale, kept);
  transaction.commit();
  return stored;
}

void Store::attachRegion(const std::string& project, const CaptureRegion& region,
                         RegionWriter& writer, StoredCapture& stored) {
  std::vector<const std::string*> known;
  for (const std::string& key : region.keys) {
    const bool isKnown = stored.attachedKeys.count(key) ||
                         (!stored.unknownKeys.count(key) && hasKeyLocked(project, key));
    (isKnown ? stored.attachedKeys : stored.unknownKeys).insert(key);
    if (isKnown) known.push_back(&key);
  }
  if (known.empty()) return;
  const TextFrame& frame = region.frame;
  writer.region.bindInteger(1, stored.id);
  writer.region.bindText(2, frame.text);
  int index = 3;
  for (double value : {frame.x, frame.y, frame.width, frame.height}) {
    writer.region.bindNumber(index++, value);
  }
  writer.region.run();
  const long long regionId = sqlite3_last_insert_rowid(db_);
  for (const std::string* key : known) {
    writer.key.bindInteger(1, stored.id);
    writer.key.bindInteger(2, regionId);
    writer.key.bindText(3, *key);
    writer.key.run();
  }
}

bool Store::hasKeyLocked(const std::string& project, const std::string& key) {
  return Statement(db_, "SELECT 1 FROM units WHERE project = ? AND key = ? LIMIT 1", {project, key})
      .step();
}

void Store::dropOldCapturesLocked(const std::string& project, const std::string& locale,
                                  std::size_t kept) {
  const std::string old =
      " IN (SELECT id FROM captures WHERE project = ? AND locale = ? ORDER BY id DESC"
      " LIMIT -1 OFFSET ?)";
  for (const char* rows :
       {"capture_keys WHERE capture", "capture_regions WHERE capture", "captures WHERE id"}) {
    Statement drop(db_, (std::string("DELETE FROM ") + rows + old).c_str(), {project, locale});
    drop.bindInteger(3, static_cast<long long>(kept));
    drop.run();
  }
}

std::vector<std::pair<std::string, int>> Store::capturedKeys(const std::string& project,
                                                             const std::string& locale) {
  std::lock_guard lock(mutex_);
  Statement query(db_,
                  "SELECT k.key, COUNT(DISTINCT k.capture) FROM capture_keys k"
                  " JOIN captures c ON c.id = k.capture WHERE c.project = ? AND c.locale = ?"
                  " GROUP BY k.key ORDER BY k.key",
                  {project, locale});
  std::vector<std::pair<std::string, int>> keys;
  while (query.step()) keys.emplace_back(query.text(0), static_cast<int>(query.integer(1)));
  return keys;
}

std::vector<KeyCapture> Store::capturesOfKey(const std::string& project, const std::string& locale,
                                             const std::string& key, std::size_t most) {
  std::lock_guard lock(mutex_);
  Statement query(db_,
                  "SELECT id, width, height FROM captures WHERE project = ? AND locale = ?"
                  " AND id IN (SELECT capture FROM capture_keys WHERE key = ?)"
                  " ORDER BY id DESC LIMIT ?",
                  {project, locale, key});
  query.bindInteger(4, static_cast<long long>(most));
  std::vector<KeyCapture> captures;
  while (query.step()) {
    captures.push_back({query.integer(0),
                        static_cast<int>(query.integer(1)),
                        static_cast<int>(query.integer(2)),
                        {}});
  }
  for (KeyCapture& capture : captures) {
    Statement frames(db_,
                     "SELECT r.text, r.x, r.y, r.width, r.height FROM capture_keys k"
                     " JOIN capture_regions r ON r.id = k.region"
                     " WHERE k.capture = ? AND k.key = ? ORDER BY r.id",
                     {});
    frames.bindInteger(1, capture.id);
    frames.bindText(2, key);
    while (frames.step()) {
      capture.frames.push_back(
          {frames.text(0), frames.number(1), frames.number(2), frames.number(3), frames.number(4)});
    }
  }
  return captures;
}

std::optional<std::string> Store::captureImage(const std::string& project, const std::string& id) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT image FROM captures WHERE project = ? AND id = ?", {project, id});
  if (!query.step()) return std::nullopt;
  return query.blob(0);
}

int Store::captureCount(const std::string& project, const std::string& locale) {
  std::lock_guard lock(mutex_);
  Statement query(db_, "SELECT COUNT(*) FROM captures WHERE project = ? AND locale = ?",
                  {project, locale});
  return query.step() ? static_cast<int>(query.integer(0)) : 0;
}

}  // namespace devserver
