// A fast 64-bit hash of bytes, the same on every run and every machine of one byte order: keys
// are found with it in tables that are written to disk, and whole files are checked with it.
// Not a defence against chosen collisions: a table's probes compare the keys themselves.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace kolvane {

inline std::uint64_t kv_mixHash(std::uint64_t value) {
  value ^= value >> 33;
  value *= 0xff51afd7ed558ccdULL;
  value ^= value >> 33;
  value *= 0xc4ceb9fe1a85ec53ULL;
  value ^= value >> 33;
  return value;
}

// Four independent lanes over 32-byte blocks keep the multiplier busy on long inputs; short
// keys take the single-lane tail.
inline std::uint64_t kv_hashBytes(const void* data, std::size_t size, std::uint64_t seed = 0) {
  constexpr std::uint64_t kPrime = 0x9e3779b97f4a7c15ULL;
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::uint64_t lanes[4] = {seed ^ kPrime, seed + kPrime, seed ^ (kPrime << 1), seed - kPrime};
  std::size_t at = 0;
  for (; at + 32 <= size; at += 32) {
    for (int lane = 0; lane < 4; ++lane) {
      std::uint64_t word;
      std::memcpy(&word, bytes + at + 8 * lane, 8);
      lanes[lane] = (lanes[lane] ^ word) * kPrime;
      lanes[lane] ^= lanes[lane] >> 29;
    }
  }
  std::uint64_t hash = lanes[0] ^ (lanes[1] * 3) ^ (lanes[2] * 5) ^ (lanes[3] * 7) ^ size;
  for (; at + 8 <= size; at += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + at, 8);
    hash = (hash ^ word) * kPrime;
    hash ^= hash >> 31;
  }
  if (at < size) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + at, size - at);
    hash = (hash ^ word) * kPrime;
  }
  return kv_mixHash(hash);
}

inline std::uint64_t kv_hashText(std::string_view text) {
  return kv_hashBytes(text.data(), text.size());
}

inline std::uint64_t kv_hashText(std::u16string_view text) {
  return kv_hashBytes(text.data(), text.size() * sizeof(char16_t));
}

}  // namespace kolvane
