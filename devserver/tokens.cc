#include "tokens.h"

#include <glib.h>

#include "server.h"

namespace devserver {

std::string base64Url(std::string_view bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned value = (static_cast<unsigned char>(bytes[i]) << 16) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                           static_cast<unsigned char>(bytes[i + 2]);
    for (int shift : {18, 12, 6, 0}) out += kAlphabet[(value >> shift) & 63];
  }
  const std::size_t left = bytes.size() - i;
  if (left > 0) {
    unsigned value = static_cast<unsigned char>(bytes[i]) << 16;
    if (left == 2) value |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += kAlphabet[(value >> 18) & 63];
    out += kAlphabet[(value >> 12) & 63];
    if (left == 2) out += kAlphabet[(value >> 6) & 63];
  }
  return out;  // unpadded, as JWTs are
}

std::string makeJwt(const nlohmann::json& claims) {
  const nlohmann::json header = {{"alg", "none"}, {"typ", "JWT"}};
  return base64Url(header.dump()) + "." + base64Url(claims.dump()) + "." + randomHex(16);
}

std::string pkceChallenge(std::string_view verifier) {
  GChecksum* checksum = g_checksum_new(G_CHECKSUM_SHA256);
  g_checksum_update(checksum, reinterpret_cast<const guchar*>(verifier.data()),
                    static_cast<gssize>(verifier.size()));
  guint8 digest[32] = {};
  gsize length = sizeof digest;
  g_checksum_get_digest(checksum, digest, &length);
  g_checksum_free(checksum);
  return base64Url(std::string_view(reinterpret_cast<const char*>(digest), length));
}

}  // namespace devserver
