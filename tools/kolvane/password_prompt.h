// Where `kolvane pull` takes the reviewer's password from when it has to sign in: standard
// input, never the command line, where anyone listing processes reads it. Main thread.
#pragma once

#include <optional>
#include <string>

namespace kolvane::cli {

// One line of standard input, its line ending dropped. When standard input is a terminal, a
// prompt naming `user` goes to standard error first and the line is read with echo off (put
// back afterwards, also when a signal ends the program meanwhile). Nothing when standard input
// ends before any character.
std::optional<std::string> readPassword(const std::string& user);

}  // namespace kolvane::cli
