#include "tools/diff/member_changes.h"

#include <algorithm>
#include <bit>

using nlohmann::ordered_json;

using Changes = std::vector<MemberChange>;

// Doubles are compared bit by bit, as hosts may: zeros differ by their sign, and what is no number
// may be the same as another.
static bool isSame(const ordered_json& inA, const ordered_json& inB)
{
    if (!inA.is_number_float() || !inB.is_number_float()) return inA == inB;
    return std::bit_cast<uint64_t>(inA.get<double>()) == std::bit_cast<uint64_t>(inB.get<double>());
}

static void compare(const std::string& member, const ordered_json& inA, const ordered_json& inB,
                    Changes* changes);

static ordered_json itemAt(const ordered_json& list, size_t place)
{
    return place < list.size() ? list[place] : nullptr;
}

static void compareLists(const std::string& member, const ordered_json& inA,
                         const ordered_json& inB, Changes* changes)
{
    for (size_t place = 0; place < std::max(inA.size(), inB.size()); ++place) {
        compare(member + "[" + std::to_string(place + 1) + "]", itemAt(inA, place),
                itemAt(inB, place), changes);
    }
}

static void compareObjects(const std::string& member, const ordered_json& inA,
                           const ordered_json& inB, Changes* changes)
{
    std::string prefix = member.empty() ? member : member + ".";
    for (const auto& [key, value] : inA.items()) {
        compare(prefix + key, value, inB.value(key, ordered_json()), changes);
    }
    for (const auto& [key, value] : inB.items()) {
        if (!inA.contains(key)) compare(prefix + key, nullptr, value, changes);
    }
}

static void compare(const std::string& member, const ordered_json& inA, const ordered_json& inB,
                    Changes* changes)
{
    if (inA.is_object() && inB.is_object()) {
        compareObjects(member, inA, inB, changes);
    } else if (inA.is_array() && inB.is_array()) {
        compareLists(member, inA, inB, changes);
    } else if (!isSame(inA, inB)) {
        changes->push_back({member, inA, inB});
    }
}

Changes memberChanges(const ordered_json& inA, const ordered_json& inB)
{
    Changes changes;
    compare("", inA, inB, &changes);
    return changes;
}
