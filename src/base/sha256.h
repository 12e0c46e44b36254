// SHA-256 (FIPS 180-4), for the PKCE challenge of the sign-on (RFC 7636, S256): the one digest
// Kolvane needs, without a cryptography library in the portable layers. Pure; any thread.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kolvane {

std::array<std::uint8_t, 32> kv_sha256(std::string_view bytes);

}  // namespace kolvane
