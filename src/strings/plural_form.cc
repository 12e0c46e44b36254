#include "strings/plural_form.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace kolvane {
namespace {

// The readings of a count that the rules test: the truncated integer and the float.
struct Count {
  std::int64_t n;
  float f;
  std::int64_t mod(std::int64_t m) const { return n % m; }  // signed, as the rules intend
};

bool inRange(std::int64_t value, std::int64_t low, std::int64_t high) {
  return value >= low && value <= high;
}

bool isOneOf(std::int64_t value, std::initializer_list<std::int64_t> set) {
  for (std::int64_t member : set) {
    if (value == member) return true;
  }
  return false;
}

// Language codes packed into an integer, first character in the highest used byte; a code
// longer than four characters overflows and matches nothing, as intended.
constexpr std::uint32_t pack(std::string_view code) {
  std::uint32_t key = 0;
  for (char c : code) key = key * 256 + static_cast<unsigned char>(c);
  return key;
}

enum class Rule {
  kNone,
  kR1,
  kR2,
  kR3,
  kR4,
  kR5,
  kR6,
  kR7,
  kAr,
  kBr,
  kCy,
  kGa,
  kGd,
  kGv,
  kHe,
  kKsh,
  kLag,
  kLt,
  kLv,
  kMk,
  kMt,
  kPl,
  kSl,
  kShi,
  kTzm,
};

struct LanguageRule {
  std::uint32_t key;
  Rule rule;
};

#define KV_LANG(code, rule) \
  { pack(code), Rule::rule }
constexpr LanguageRule kLanguageRules[] = {
    KV_LANG("af", kR1),   KV_LANG("bg", kR1),   KV_LANG("bn", kR1),  KV_LANG("ca", kR1),
    KV_LANG("da", kR1),   KV_LANG("de", kR1),   KV_LANG("dv", kR1),  KV_LANG("ee", kR1),
    KV_LANG("el", kR1),   KV_LANG("en", kR1),   KV_LANG("eo", kR1),  KV_LANG("es", kR1),
    KV_LANG("et", kR1),   KV_LANG("eu", kR1),   KV_LANG("fi", kR1),  KV_LANG("fo", kR1),
    KV_LANG("fy", kR1),   KV_LANG("gl", kR1),   KV_LANG("gu", kR1),  KV_LANG("ha", kR1),
    KV_LANG("is", kR1),   KV_LANG("it", kR1),   KV_LANG("kk", kR1),  KV_LANG("kl", kR1),
    KV_LANG("ks", kR1),   KV_LANG("ku", kR1),   KV_LANG("ky", kR1),  KV_LANG("lb", kR1),
    KV_LANG("lg", kR1),   KV_LANG("ml", kR1),   KV_LANG("mn", kR1),  KV_LANG("mr", kR1),
    KV_LANG("nb", kR1),   KV_LANG("nd", kR1),   KV_LANG("ne", kR1),  KV_LANG("nl", kR1),
    KV_LANG("nn", kR1),   KV_LANG("no", kR1),   KV_LANG("nr", kR1),  KV_LANG("ny", kR1),
    KV_LANG("om", kR1),   KV_LANG("or", kR1),   KV_LANG("os", kR1),  KV_LANG("pa", kR1),
    KV_LANG("ps", kR1),   KV_LANG("pt", kR1),   KV_LANG("rm", kR1),  KV_LANG("sn", kR1),
    KV_LANG("so", kR1),   KV_LANG("sq", kR1),   KV_LANG("ss", kR1),  KV_LANG("st", kR1),
    KV_LANG("sv", kR1),   KV_LANG("sw", kR1),   KV_LANG("ta", kR1),  KV_LANG("te", kR1),
    KV_LANG("tk", kR1),   KV_LANG("tn", kR1),   KV_LANG("ts", kR1),  KV_LANG("ur", kR1),
    KV_LANG("ve", kR1),   KV_LANG("vo", kR1),   KV_LANG("xh", kR1),  KV_LANG("zu", kR1),
    KV_LANG("asa", kR1),  KV_LANG("ast", kR1),  KV_LANG("bem", kR1), KV_LANG("bez", kR1),
    KV_LANG("brx", kR1),  KV_LANG("cgg", kR1),  KV_LANG("chr", kR1), KV_LANG("ckb", kR1),
    KV_LANG("fur", kR1),  KV_LANG("gsw", kR1),  KV_LANG("haw", kR1), KV_LANG("jgo", kR1),
    KV_LANG("jmc", kR1),  KV_LANG("kaj", kR1),  KV_LANG("kcg", kR1), KV_LANG("kkj", kR1),
    KV_LANG("ksb", kR1),  KV_LANG("mas", kR1),  KV_LANG("mgo", kR1), KV_LANG("nah", kR1),
    KV_LANG("nnh", kR1),  KV_LANG("nyn", kR1),  KV_LANG("pap", kR1), KV_LANG("rof", kR1),
    KV_LANG("rwk", kR1),  KV_LANG("saq", kR1),  KV_LANG("seh", kR1), KV_LANG("ssy", kR1),
    KV_LANG("syr", kR1),  KV_LANG("teo", kR1),  KV_LANG("tig", kR1), KV_LANG("vun", kR1),
    KV_LANG("wae", kR1),  KV_LANG("xog", kR1),  KV_LANG("ak", kR2),  KV_LANG("am", kR2),
    KV_LANG("bh", kR2),   KV_LANG("fil", kR2),  KV_LANG("guw", kR2), KV_LANG("hi", kR2),
    KV_LANG("ln", kR2),   KV_LANG("mg", kR2),   KV_LANG("nso", kR2), KV_LANG("ti", kR2),
    KV_LANG("tl", kR2),   KV_LANG("wa", kR2),   KV_LANG("ff", kR3),  KV_LANG("fr", kR3),
    KV_LANG("kab", kR3),  KV_LANG("be", kR4),   KV_LANG("bs", kR4),  KV_LANG("hr", kR4),
    KV_LANG("ru", kR4),   KV_LANG("sh", kR4),   KV_LANG("sr", kR4),  KV_LANG("uk", kR4),
    KV_LANG("cs", kR5),   KV_LANG("sk", kR5),   KV_LANG("iu", kR6),  KV_LANG("kw", kR6),
    KV_LANG("naq", kR6),  KV_LANG("se", kR6),   KV_LANG("sma", kR6), KV_LANG("smi", kR6),
    KV_LANG("smj", kR6),  KV_LANG("smn", kR6),  KV_LANG("sms", kR6), KV_LANG("mo", kR7),
    KV_LANG("ro", kR7),   KV_LANG("ar", kAr),   KV_LANG("br", kBr),  KV_LANG("cy", kCy),
    KV_LANG("ga", kGa),   KV_LANG("gd", kGd),   KV_LANG("gv", kGv),  KV_LANG("he", kHe),
    KV_LANG("ksh", kKsh), KV_LANG("lag", kLag), KV_LANG("lt", kLt),  KV_LANG("lv", kLv),
    KV_LANG("mk", kMk),   KV_LANG("mt", kMt),   KV_LANG("pl", kPl),  KV_LANG("sl", kSl),
    KV_LANG("shi", kShi), KV_LANG("tzm", kTzm),
};
#undef KV_LANG

Rule ruleForLanguage(std::string_view language) {
  const std::uint32_t key = pack(language);
  for (const LanguageRule& entry : kLanguageRules) {
    if (entry.key == key) return entry.rule;
  }
  return Rule::kNone;
}

const char* slavicEast(const Count& c) {
  if (c.mod(10) == 1 && c.mod(100) != 11) return "one";
  if (inRange(c.mod(10), 2, 4) && !inRange(c.mod(100), 12, 14)) return "few";
  if (c.mod(10) == 0 || inRange(c.mod(10), 5, 9) || inRange(c.mod(100), 11, 14)) return "many";
  return "other";
}

const char* breton(const Count& c) {
  if (c.n != 0 && c.mod(1000000) == 0) return "many";
  if (c.mod(10) == 1 && !isOneOf(c.mod(100), {11, 71, 91})) return "one";
  if (c.mod(10) == 2 && !isOneOf(c.mod(100), {12, 72, 92})) return "two";
  const std::int64_t tens = c.mod(100);
  if (isOneOf(c.mod(10), {3, 4, 9}) && !inRange(tens, 10, 19) && !inRange(tens, 70, 79) &&
      !inRange(tens, 90, 99)) {
    return "few";
  }
  return "other";
}

const char* polish(const Count& c) {
  if (c.n == 1) return "one";
  if (inRange(c.mod(10), 2, 4) && !inRange(c.mod(100), 12, 14)) return "few";
  if (inRange(c.mod(10), 0, 1) || inRange(c.mod(10), 5, 9) || inRange(c.mod(100), 12, 14)) {
    return "many";
  }
  return "other";
}

const char* sharedRule(Rule rule, const Count& c) {
  switch (rule) {
    case Rule::kR1:
      return c.n == 1 ? "one" : "other";
    case Rule::kR2:
      return inRange(c.n, 0, 1) ? "one" : "other";
    case Rule::kR3:
      return (c.f >= 0 && c.f < 2) ? "one" : "other";
    case Rule::kR4:
      return slavicEast(c);
    case Rule::kR5:
      return c.n == 1 ? "one" : inRange(c.n, 2, 4) ? "few" : "other";
    case Rule::kR6:
      return c.n == 2 ? "two" : c.n == 1 ? "one" : "other";
    case Rule::kR7:
      if (c.n == 1) return "one";
      return (c.n == 0 || inRange(c.mod(100), 1, 19)) ? "few" : "other";
    default:
      return nullptr;
  }
}

const char* languageRule(Rule rule, const Count& c) {
  switch (rule) {
    case Rule::kAr:
      if (c.n == 2) return "two";
      if (c.n == 1) return "one";
      if (c.n == 0) return "zero";
      if (inRange(c.mod(100), 3, 10)) return "few";
      return inRange(c.mod(100), 11, 99) ? "many" : "other";
    case Rule::kBr:
      return breton(c);
    case Rule::kCy:
      return c.n == 2   ? "two"
             : c.n == 3 ? "few"
             : c.n == 0 ? "zero"
             : c.n == 1 ? "one"
             : c.n == 6 ? "many"
                        : "other";
    case Rule::kGa:
      return c.n == 2              ? "two"
             : c.n == 1            ? "one"
             : inRange(c.n, 3, 6)  ? "few"
             : inRange(c.n, 7, 10) ? "many"
                                   : "other";
    case Rule::kGd:
      if (c.n == 2 || c.n == 12) return "two";
      if (c.n == 1 || c.n == 11) return "one";
      return (inRange(c.n, 3, 10) || inRange(c.n, 13, 19)) ? "few" : "other";
    case Rule::kGv:
      return (inRange(c.mod(10), 1, 2) || c.mod(20) == 0) ? "one" : "other";
    case Rule::kHe:
      return c.n == 2 ? "two" : c.n == 1 ? "one" : (c.n != 0 && c.mod(10) == 0) ? "many" : "other";
    case Rule::kKsh:
      return c.n == 0 ? "zero" : c.n == 1 ? "one" : "other";
    case Rule::kLag:
      return c.n == 0 ? "zero" : (c.f > 0 && c.f < 2) ? "one" : "other";
    case Rule::kLt:
      if (inRange(c.mod(100), 11, 19)) return "other";
      return c.mod(10) == 1 ? "one" : inRange(c.mod(10), 2, 9) ? "few" : "other";
    case Rule::kLv:
      return c.n == 0 ? "zero" : (c.mod(10) == 1 && c.mod(100) != 11) ? "one" : "other";
    case Rule::kMk:
      return (c.mod(10) == 1 && c.n != 11) ? "one" : "other";
    case Rule::kMt:
      if (c.n == 1) return "one";
      if (inRange(c.mod(100), 11, 19)) return "many";
      return (c.n == 0 || inRange(c.mod(100), 2, 10)) ? "few" : "other";
    case Rule::kPl:
      return polish(c);
    case Rule::kSl:
      return c.mod(100) == 2             ? "two"
             : c.mod(100) == 1           ? "one"
             : inRange(c.mod(100), 3, 4) ? "few"
                                         : "other";
    case Rule::kShi:
      return inRange(c.n, 2, 10) ? "few" : (c.f >= 0 && c.f <= 1) ? "one" : "other";
    case Rule::kTzm:
      return (inRange(c.n, 0, 1) || inRange(c.n, 11, 99)) ? "one" : "other";
    default:
      return "other";
  }
}

}  // namespace

std::string KVPluralForm::pluralFormForValue(const std::optional<Number>& value,
                                             const std::optional<Locale>& locale) {
  if (!locale) return "other";
  const std::string& identifier = locale->localeIdentifier();
  const std::string_view language = std::string_view(identifier).substr(0, identifier.find('_'));
  if (language.empty()) return "other";
  const Rule rule = ruleForLanguage(language);
  const Count count{value ? value->longLongValue() : 0, value ? value->floatValue() : 0.0f};
  if (const char* shared = sharedRule(rule, count)) return shared;
  return languageRule(rule, count);
}

}  // namespace kolvane
