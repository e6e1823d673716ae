#include "tools/reading/element_json.h"

#include "tools/reading/latin1.h"

using nlohmann::ordered_json;

template <size_t WIDTH> static std::string text(const char (&member)[WIDTH])
{
    return utf8FromLatin1(memberText(member));
}

static ordered_json pointJson(const PointElement& point)
{
    return {{"setText", text(point.setText)},
            {"name", text(point.name)},
            {"featureText", text(point.featureText)},
            {"firstNote", text(point.firstNote)},
            {"longText", text(point.longText)},
            {"real4", point.real4},
            {"integer1", point.integer1},
            {"real1", point.real1},
            {"real2", point.real2},
            {"real3", point.real3},
            {"number1", point.number1},
            {"integer7", point.integer7},
            {"text1", text(point.text1)},
            {"text2", text(point.text2)},
            {"text3", text(point.text3)},
            {"text4", text(point.text4)}};
}

static ordered_json lineJson(const LineElement& line)
{
    return {{"name", text(line.name)},
            {"beginPointName", text(line.beginPointName)},
            {"endPointName", text(line.endPointName)},
            {"beginPoint", pointJson(line.beginPoint)},
            {"endPoint", pointJson(line.endPoint)},
            {"secondaryCode", text(line.secondaryCode)},
            {"noteText", text(line.noteText)}};
}

static ordered_json curveJson(const CurveElement& curve)
{
    return {{"name", text(curve.name)},        {"curve1", curve.curve1},
            {"curve2", curve.curve2},          {"curve3", curve.curve3},
            {"curve4", curve.curve4},          {"curve5", curve.curve5},
            {"curve6", curve.curve6},          {"curve7", curve.curve7},
            {"curve8", curve.curve8},          {"curve9", curve.curve9},
            {"curve10", curve.curve10},        {"curve11", curve.curve11},
            {"curve12", curve.curve12},        {"curve13", curve.curve13},
            {"curve14", curve.curve14},        {"textA", text(curve.textA)},
            {"textB", text(curve.textB)},      {"secondaryCode", text(curve.secondaryCode)},
            {"noteText", text(curve.noteText)}};
}

static ordered_json spiralJson(const SpiralElement& spiral)
{
    return {{"name", text(spiral.name)},        {"spiralType", spiral.spiralType},
            {"spiral1", spiral.spiral1},        {"spiral2", spiral.spiral2},
            {"spiral3", spiral.spiral3},        {"spiral4", spiral.spiral4},
            {"spiral5", spiral.spiral5},        {"spiral6", spiral.spiral6},
            {"spiral7", spiral.spiral7},        {"spiral8", spiral.spiral8},
            {"spiral9", spiral.spiral9},        {"spiral10", spiral.spiral10},
            {"spiral11", spiral.spiral11},      {"spiral12", spiral.spiral12},
            {"spiral13", spiral.spiral13},      {"spiral14", spiral.spiral14},
            {"spiral15", spiral.spiral15},      {"spiral16", spiral.spiral16},
            {"spiral17", spiral.spiral17},      {"spiral18", spiral.spiral18},
            {"textA", text(spiral.textA)},      {"secondaryCode", text(spiral.secondaryCode)},
            {"noteText", text(spiral.noteText)}};
}

static ordered_json memberJson(const ChainMember& member)
{
    ordered_json json = {{"memberKind", member.memberKind}};
    switch (member.memberKind) {
    case CHAIN_MEMBER_POINT:
        json["point"] = pointJson(member.payload.point);
        break;
    case CHAIN_MEMBER_CURVE:
        json["curve"] = curveJson(member.payload.curve);
        break;
    case CHAIN_MEMBER_SPIRAL:
        json["spiral"] = spiralJson(member.payload.spiral);
        break;
    default:
        break; // shifts and gaps carry nothing
    }
    return json;
}

static ordered_json chainJson(const ChainElement& chain)
{
    ordered_json members = ordered_json::array();
    for (const ChainMember* member = chain.firstMember; member != nullptr; member = member->next) {
        members.push_back(memberJson(*member));
    }
    return {{"name", text(chain.name)},
            {"secondaryCode", text(chain.secondaryCode)},
            {"noteText", text(chain.noteText)},
            {"unresolvedMembers", chain.unresolvedMembers},
            {"members", std::move(members)}};
}

static ordered_json vertexJson(const ProfileVertex& vertex)
{
    return {{"vertexCode", vertex.vertexCode},       {"station", vertex.station},
            {"segmentNumber", vertex.segmentNumber}, {"elevation", vertex.elevation},
            {"backLength", vertex.backLength},       {"aheadLength", vertex.aheadLength}};
}

static ordered_json profileJson(const ProfileElement& profile)
{
    ordered_json vertices = ordered_json::array();
    for (int32_t at = 0; at < profile.vertexCount; ++at) {
        vertices.push_back(vertexJson(profile.vertices[at]));
    }
    return {{"name", text(profile.name)},
            {"secondaryCode", text(profile.secondaryCode)},
            {"noteText", text(profile.noteText)},
            {"vertexCount", profile.vertexCount},
            {"vertices", std::move(vertices)}};
}

static ordered_json surveyChainJson(const SurveyChainElement& chain)
{
    ordered_json points = ordered_json::array();
    for (int32_t at = 0; at < chain.pointCount; ++at) {
        points.push_back(pointJson(chain.points[at]));
    }
    return {{"setText", text(chain.setText)},
            {"name", text(chain.name)},
            {"featureText", text(chain.featureText)},
            {"note", text(chain.note)},
            {"number1", chain.number1},
            {"integer4", chain.integer4},
            {"unresolvedPoints", chain.unresolvedPoints},
            {"pointCount", chain.pointCount},
            {"points", std::move(points)}};
}

ordered_json elementJson(uint32_t kind, const void* element)
{
    switch (kind) {
    case ELEMENT_POINT:
        return pointJson(*static_cast<const PointElement*>(element));
    case ELEMENT_LINE:
        return lineJson(*static_cast<const LineElement*>(element));
    case ELEMENT_CURVE:
        return curveJson(*static_cast<const CurveElement*>(element));
    case ELEMENT_SPIRAL:
        return spiralJson(*static_cast<const SpiralElement*>(element));
    case ELEMENT_CHAIN:
        return chainJson(*static_cast<const ChainElement*>(element));
    case ELEMENT_PROFILE:
        return profileJson(*static_cast<const ProfileElement*>(element));
    case ELEMENT_SURVEY_CHAIN:
        return surveyChainJson(*static_cast<const SurveyChainElement*>(element));
    default:
        return nullptr;
    }
}

static void appendJson(std::string& line, const ordered_json& value)
{
    bool first = true;
    if (value.is_object()) {
        line += '{';
        for (const auto& [key, member] : value.items()) {
            if (!first) line += ", ";
            first = false;
            line += '"' + key + "\": ";
            appendJson(line, member);
        }
        line += '}';
    } else if (value.is_array()) {
        line += '[';
        for (const ordered_json& item : value) {
            if (!first) line += ", ";
            first = false;
            appendJson(line, item);
        }
        line += ']';
    } else {
        line += value.dump(-1, ' ', true);
    }
}

std::string jsonLine(const ordered_json& value)
{
    std::string line;
    appendJson(line, value);
    return line;
}
