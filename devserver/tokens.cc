#include "tokens.h"

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

}  // namespace devserver
