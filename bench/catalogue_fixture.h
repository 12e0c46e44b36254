// Generated catalogues for the benchmarks: a bundle folder with an Info.plist, a base
// Localizable.strings, a bundle-only table and a published XLIFF file for the shown locale,
// plus a gettext catalogue of the same strings. Kolvane is started on them once per size.
#pragma once

#include <string>
#include <vector>

#include "core/table_images.h"

namespace kolvane::bench {

struct Catalogue {
  int size = 0;
  std::string folder;
  std::string publishedFile;   // the shown locale's XLIFF file
  std::string publishedBytes;  // its contents
  std::vector<std::string> shownKeys;
  std::vector<std::string> baseKeys;    // only in the base table
  std::vector<std::string> bundleKeys;  // only in the bundle's own table
  std::vector<std::u16string> shownTexts;
  std::vector<std::u16string> shownHashes;  // what a reviewer's touch looks up
  std::vector<int> order;                   // a shuffled visiting order of the indexes
  bool gettextReady = false;                // dgettext answers from the .mo catalogue
};

// Made on first use for each size, and Kolvane started on the one asked for last.
const Catalogue& catalogue(int size);
// Reads the catalogue's published file as a store does: from its image when one matches.
KVFileTable readPublishedTable(const Catalogue& catalogue);
// Starts (or restarts) Kolvane on the catalogue: platform, saved locale, stores loaded.
void startKolvaneOn(const Catalogue& catalogue);

}  // namespace kolvane::bench
