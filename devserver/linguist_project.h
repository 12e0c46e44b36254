// A project made of a Qt app's Linguist catalogues, and its catalogues back as they stand.
#pragma once

#include <string>
#include <vector>

#include "store.h"

namespace devserver {

// Makes project `projectId` from the .ts `files` (one per language), with the users and
// workflows of the project description in `seedFolder`. Its tables are the contexts; a unit's
// key is its source text with its disambiguation (see KolvaneMessageKey); a numerus message
// is a plural unit whose forms take the categories Qt's forms of the language stand for.
// Finished translations are published, unfinished ones wait in the first step, vanished and
// obsolete messages are left out. The source language is a locale of its own, its texts the
// source texts. Throws std::runtime_error naming the file at fault.
void importLinguist(Store& store, const std::string& projectId,
                    const std::vector<std::string>& files, const std::string& seedFolder);

// The .ts of `locale` of a project made by importLinguist: its published texts as finished
// translations, texts still in a step as unfinished ones, the rest empty and unfinished.
// Throws std::runtime_error when the project or the locale is unknown.
std::string exportLinguist(Store& store, const std::string& projectId, const std::string& locale);

}  // namespace devserver
