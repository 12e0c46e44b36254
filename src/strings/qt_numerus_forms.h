// How the numerus forms of a Linguist message stand for plural categories: Qt orders a
// language's forms by its own rules, plural records name them by CLDR category. Pure; any
// thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kolvane {

// The category each of Qt's numerus forms of `language` (an ISO 639 code, "ru"; a region
// after "_" or "-" is ignored) stands for, in Qt's order: the CLDR category of most of the
// counts from 0 to 1,000 that Qt gives that form. A language Qt does not know has English's
// forms ("one", "other").
// Example: kv_qtNumerusCategories("ru") gives {"one", "few", "many"}.
std::vector<std::string> kv_qtNumerusCategories(std::string_view language);

}  // namespace kolvane
