// The names that somebody may have meant who misspelt one. For orvidx.
#pragma once

#include <string>
#include <vector>

// Returns at most three of the names, the nearest first: those that few changes of a letter, and
// any of upper and lower case, turn into the sought one.
std::vector<std::string> nearNames(const std::vector<std::string>& names,
                                   const std::string& sought);
