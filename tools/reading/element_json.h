// Elements as JSON objects: the members of the element records under their names, in order.
//
// For orvidx and orvjob.
#pragma once

#include "orvIdx.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

// Returns a text member of an element record, without its terminator.
template <size_t WIDTH> std::string_view memberText(const char (&member)[WIDTH])
{
    std::string_view whole(member, WIDTH);
    return whole.substr(0, whole.find('\0'));
}

// Returns an element, which was read with this kind, as an object. Nested points, members and
// vertices are nested objects; texts are UTF-8; a double that is no number becomes
// null when it is printed.
nlohmann::ordered_json elementJson(uint32_t kind, const void* element);

// Returns the value on one line in ASCII, with a blank after each comma and colon.
std::string jsonLine(const nlohmann::ordered_json& value);
