#include "tools/orvidx/near_names.h"

#include <algorithm>
#include <cctype>

constexpr size_t SUGGESTIONS = 3;

static bool alike(char one, char other)
{
    return std::tolower(static_cast<unsigned char>(one)) ==
           std::tolower(static_cast<unsigned char>(other));
}

// Returns how many letters have to be added, taken away, replaced or swapped with the next one.
static size_t distance(const std::string& from, const std::string& to)
{
    // Of the first i letters of one from the first j of the other.
    std::vector<std::vector<size_t>> steps(from.size() + 1, std::vector<size_t>(to.size() + 1));
    for (size_t i = 0; i <= from.size(); ++i) {
        for (size_t j = 0; j <= to.size(); ++j) {
            size_t& least = steps[i][j];
            least = i + j;
            if (i == 0 || j == 0) continue;
            size_t replaced = steps[i - 1][j - 1] + (alike(from[i - 1], to[j - 1]) ? 0 : 1);
            least = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, replaced});
            bool swapped =
                i > 1 && j > 1 && alike(from[i - 1], to[j - 2]) && alike(from[i - 2], to[j - 1]);
            if (swapped) least = std::min(least, steps[i - 2][j - 2] + 1);
        }
    }
    return steps[from.size()][to.size()];
}

std::vector<std::string> nearNames(const std::vector<std::string>& names, const std::string& sought)
{
    size_t furthest = (sought.size() + 1) / 3;
    std::vector<std::vector<std::string>> byDistance(furthest + 1);
    for (const std::string& name : names) {
        size_t longer = std::max(name.size(), sought.size());
        if (longer - std::min(name.size(), sought.size()) > furthest) continue;
        size_t steps = distance(name, sought);
        if (steps <= furthest) byDistance[steps].push_back(name);
    }
    std::vector<std::string> found;
    for (const std::vector<std::string>& group : byDistance) {
        found.insert(found.end(), group.begin(), group.end());
    }
    found.resize(std::min(found.size(), SUGGESTIONS));
    return found;
}
