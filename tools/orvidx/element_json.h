// Elements as JSON: the member names of the element records, in their order.
//
// For orvidx.
#pragma once

#include "orvIdx.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

// A text member of an element record, without its terminator.
template <size_t WIDTH> std::string_view memberText(const char (&member)[WIDTH])
{
    std::string_view whole(member, WIDTH);
    return whole.substr(0, whole.find('\0'));
}

// Expects an element that was read with this kind. Nested points, members and
// vertices are nested objects; texts are UTF-8; a double that is no number becomes
// null when it is printed.
nlohmann::ordered_json elementJson(uint32_t kind, const void* element);

// The value on one line, with a blank after each comma and colon, in ASCII.
std::string jsonLine(const nlohmann::ordered_json& value);
