#include "platform/linux/secret_keychain.h"

#include <libsecret/secret.h>

#include <mutex>
#include <string>

#include "platform/linux/file_keychain.h"

namespace kolvane {
namespace {

const SecretSchema* keychainSchema() {
  static const SecretSchema schema = {"com.kolvane.Keychain",
                                      SECRET_SCHEMA_NONE,
                                      {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                       {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                       {"accessGroup", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                       {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                      0,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr};
  return &schema;
}

// The attribute table of a query; owns nothing but the table (values point into `query`).
class Attributes {
 public:
  explicit Attributes(const KeychainQuery& query, const std::string* group = nullptr)
      : table_(g_hash_table_new(g_str_hash, g_str_equal)) {
    put("service", query.service);
    put("account", query.account);
    if (group == nullptr && query.accessGroup) group = &*query.accessGroup;
    if (group != nullptr) put("accessGroup", *group);
  }
  ~Attributes() { g_hash_table_unref(table_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  GHashTable* table() const { return table_; }

 private:
  void put(const char* name, const std::string& value) {
    g_hash_table_insert(table_, const_cast<char*>(name), const_cast<char*>(value.c_str()));
  }
  GHashTable* table_;
};

// Frees a GError the sync calls filled in and says whether there was one.
bool failed(GError*& error) {
  if (error == nullptr) return false;
  g_error_free(error);
  error = nullptr;
  return true;
}

std::string attribute(SecretRetrievable* found, const char* name) {
  GHashTable* attributes = secret_retrievable_get_attributes(found);
  const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, name));
  std::string text = value != nullptr ? value : "";
  g_hash_table_unref(attributes);
  return text;
}

}  // namespace

SecretKeychain::SecretKeychain(std::string defaultAccessGroup)
    : defaultAccessGroup_(std::move(defaultAccessGroup)) {}

bool SecretKeychain::serviceAvailable() {
  // Without a session bus there is no service to ask; checking first keeps GIO from trying to
  // launch a bus for us, which would cost every app start on a server or in a container.
  const char* address = g_getenv("DBUS_SESSION_BUS_ADDRESS");
  const char* runtime = g_getenv("XDG_RUNTIME_DIR");
  const std::string socket = runtime != nullptr ? std::string(runtime) + "/bus" : std::string();
  if ((address == nullptr || *address == '\0') &&
      (socket.empty() || !g_file_test(socket.c_str(), G_FILE_TEST_EXISTS))) {
    return false;
  }
  GError* error = nullptr;
  SecretService* service = secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error);
  if (failed(error) || service == nullptr) return false;
  g_object_unref(service);
  return true;
}

KeychainStatus SecretKeychain::add(const KeychainQuery& query, std::string_view data) {
  if (copyMatching(query, nullptr) != KeychainStatus::itemNotFound) {
    return KeychainStatus::failure;  // a duplicate, or the service is not usable
  }
  const std::string group = query.accessGroup.value_or(defaultAccessGroup_);
  const Attributes attributes(query, &group);
  const std::string label = "Kolvane " + query.service;
  // The value is binary in principle; the service stores text.
  gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size());
  GError* error = nullptr;
  const gboolean stored =
      secret_password_storev_sync(keychainSchema(), attributes.table(), SECRET_COLLECTION_DEFAULT,
                                  label.c_str(), encoded, nullptr, &error);
  g_free(encoded);
  return !failed(error) && stored ? KeychainStatus::success : KeychainStatus::failure;
}

KeychainStatus SecretKeychain::copyMatching(const KeychainQuery& query, KeychainItem* item) {
  const Attributes attributes(query);
  GError* error = nullptr;
  GList* found = secret_password_searchv_sync(
      keychainSchema(), attributes.table(),
      static_cast<SecretSearchFlags>(SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS), nullptr,
      &error);
  if (failed(error)) return KeychainStatus::failure;
  if (found == nullptr) return KeychainStatus::itemNotFound;
  KeychainStatus status = KeychainStatus::success;
  SecretValue* secret = nullptr;
  auto* first = static_cast<SecretRetrievable*>(found->data);
  if (item != nullptr) {
    secret = secret_retrievable_retrieve_secret_sync(first, nullptr, &error);
    const gchar* text = secret != nullptr ? secret_value_get_text(secret) : nullptr;
    if (failed(error) || text == nullptr) {
      status = KeychainStatus::failure;
    } else {
      gsize length = 0;
      guchar* decoded = g_base64_decode(text, &length);
      item->data.assign(reinterpret_cast<const char*>(decoded), length);
      g_free(decoded);
      item->accessGroup = attribute(first, "accessGroup");
    }
  }
  if (secret != nullptr) secret_value_unref(secret);
  g_list_free_full(found, g_object_unref);
  return status;
}

KeychainStatus SecretKeychain::remove(const KeychainQuery& query) {
  const Attributes attributes(query);
  GError* error = nullptr;
  const gboolean removed =
      secret_password_clearv_sync(keychainSchema(), attributes.table(), nullptr, &error);
  if (failed(error)) return KeychainStatus::failure;
  return removed ? KeychainStatus::success : KeychainStatus::itemNotFound;
}

namespace {

// Decides on first use (the saved login is read at start-up), not when the platform is made,
// so that a host that installs its own platform never talks to D-Bus.
class ChosenKeychain : public Keychain {
 public:
  ChosenKeychain(std::string fallbackPath, std::string defaultAccessGroup)
      : fallbackPath_(std::move(fallbackPath)), group_(std::move(defaultAccessGroup)) {}

  KeychainStatus add(const KeychainQuery& query, std::string_view data) override {
    return chosen().add(query, data);
  }
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override {
    return chosen().copyMatching(query, item);
  }
  KeychainStatus remove(const KeychainQuery& query) override { return chosen().remove(query); }

 private:
  Keychain& chosen() {
    std::call_once(once_, [this] {
      if (SecretKeychain::serviceAvailable()) {
        keychain_ = std::make_unique<SecretKeychain>(group_);
      } else {
        keychain_ = std::make_unique<FileKeychain>(fallbackPath_, group_);
      }
    });
    return *keychain_;
  }

  std::string fallbackPath_;
  std::string group_;
  std::once_flag once_;
  std::unique_ptr<Keychain> keychain_;
};

}  // namespace

std::unique_ptr<Keychain> makeLinuxKeychain(std::string fallbackPath,
                                            std::string defaultAccessGroup) {
  return std::make_unique<ChosenKeychain>(std::move(fallbackPath), std::move(defaultAccessGroup));
}

}  // namespace kolvane
