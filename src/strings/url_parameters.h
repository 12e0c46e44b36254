// Query or fragment parameters of a URL, such as the sign-in redirect that carries the
// authorisation code. Pure functions; any thread.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kolvane {

using KVParameters = std::map<std::string, std::string>;

// The parameters after the first "?" (or, when there is none, after the first "#"), up to a
// further "?" or "#" piece. Names and values are taken as they stand: no percent-decoding.
// A fragment is not split off a query: "a?b=1#c=2" gives b = "1#c".
KVParameters kv_getParameters(std::string_view url);

// "name=value" pairs joined by "&"; a later name replaces an earlier one, a pair without "="
// is skipped.
KVParameters kv_getParametersFromString(std::string_view text);

}  // namespace kolvane
