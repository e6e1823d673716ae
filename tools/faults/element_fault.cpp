#include "tools/faults/element_fault.h"

#include "api/orvIdx.h"
#include "cogo/cogo_state.h"
#include "cogo/extension.h"
#include "cogo/keys.h"
#include "survey/survey_state.h"

#include <cstring>

// The field of the primary key in the layouts of the survey indexes.
constexpr int SURVEY_NAME_FIELD = 1;
constexpr int LIST_NAME_FIELD = 0;

constexpr char NOT_FOUND[] = "it is not found under its name";

static ElementFault damage(const std::string& reason) { return {true, reason}; }
static ElementFault remark(const std::string& reason) { return {false, reason}; }

// Returns what is wrong with the current record, or an empty text.
static std::string recordFault(RecordFile* job, const LayoutPlan* plan, int keyField)
{
    switch (readRecordAtKey(job, plan, keyField)) {
    case IX_OK:
        return {};
    case IX_NOT_FOUND:
        return " is missing";
    case IX_OTHER_LAYOUT:
        return " has another layout";
    case IX_DAMAGED_IMAGE:
        return " is damaged, or another one stands in its place";
    case IX_BROKEN_RECORD:
        return " is incomplete";
    default:
        return " lies behind a damaged page";
    }
}

static std::string cogoFault(RecordFile* job, const LayoutPlan* plan)
{
    return recordFault(job, plan, KEY_FIELD);
}

// Returns what is wrong with an extension record that exists, or an empty text.
static std::string extensionFault(RecordFile* job, const std::string& name, const char* extends)
{
    if (findExtension(job, name.c_str(), EXTENSION_MEMBER, extends) == COGO_OK) {
        return cogoFault(job, &cogoState.extensionPlan);
    }
    return lookupFailed(job) ? " lies behind a damaged page" : "";
}

// -- One element -------------------------------------------------------------

static ElementFault faultOfPoint(RecordFile* job, const std::string& name)
{
    if (findPoint(job, name.c_str()) != SURVEY_OK) return damage(NOT_FOUND);
    std::string fault = recordFault(job, &surveyState.pointPlan, SURVEY_NAME_FIELD);
    return damage(fault.empty() ? "its feature lies behind a damaged page" : "its record" + fault);
}

// Curves and spirals, which are one record.
static ElementFault faultOfRecord(RecordFile* job, int found, const LayoutPlan* plan)
{
    if (found != COGO_OK) return damage(NOT_FOUND);
    return damage("its record" + cogoFault(job, plan));
}

// Of a line with sound records. Its point may be there and unreadable.
static ElementFault faultOfEndPoint(RecordFile* job, const std::string& point)
{
    ElementName reached;
    if (readPointByName(job, point.c_str(), &reached) == SURVEY_OK) {
        return damage("its point " + point + " cannot be read");
    }
    if (lookupFailed(job)) return damage("its point " + point + " lies behind a damaged page");
    return remark("there is no point " + (point.empty() ? "without a name" : point));
}

static bool isReadable(RecordFile* job, const char* point)
{
    return findPoint(job, point) == SURVEY_OK && readPointRecord(job) != nullptr;
}

static ElementFault faultOfLine(RecordFile* job, const std::string& name)
{
    if (findLine(job, name.c_str()) != COGO_OK) return damage(NOT_FOUND);
    std::string fault = cogoFault(job, &cogoState.linePlan);
    if (!fault.empty()) return damage("its record" + fault);
    fault = extensionFault(job, name, EXTENDS_LINE);
    if (!fault.empty()) return damage("its extension record" + fault);
    LineResult line;
    if (findLine(job, name.c_str()) != COGO_OK || readLine(job, &line) != COGO_OK) {
        return damage("its extension record cannot be added");
    }
    bool begins = isReadable(job, line.beginPointName);
    return faultOfEndPoint(job, begins ? line.endPointName : line.beginPointName);
}

static ElementFault faultOfChain(RecordFile* job, const std::string& name)
{
    if (findChain(job, name.c_str()) != COGO_OK) return damage(NOT_FOUND);
    std::string fault = cogoFault(job, &cogoState.chainPlan);
    if (!fault.empty() && cogoFault(job, &cogoState.olderChainPlan).empty()) {
        return damage("its record has the older layout and cannot be rewritten");
    }
    if (!fault.empty()) return damage("its record" + fault);
    return damage("a member lies behind a damaged page, or its description is too long");
}

// Positions on the data record of the profile with this place among them, counted from 0. False
// when there are no more.
static bool toDataRecord(RecordFile* job, const std::string& name, int place)
{
    KeyComponents parts = keyComponents(TAG_PROFILE_DATA, name.c_str(), "", "");
    RecordKey key = buildKey(&parts);
    int found = place == 0 ? recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_AT_OR_AFTER)
                           : recordStep(job, RECORD_KEY_INDEX, STEP_NEXT);
    if (found != IX_OK && found != IX_GREATER_KEY) return false;
    return std::memcmp(keyAtPosition(job, RECORD_KEY_INDEX), key.text, KEY_QUALIFIER_A) == 0;
}

static ElementFault faultOfProfile(RecordFile* job, const std::string& name)
{
    int place = 0;
    while (toDataRecord(job, name, place)) {
        ++place;
        std::string fault = cogoFault(job, &cogoState.profileDataPlan);
        if (fault.empty()) continue;
        return damage("its data record " + std::to_string(place) + fault);
    }
    if (lookupFailed(job)) return damage("its data lie behind a damaged page");
    std::string fault = extensionFault(job, name, EXTENDS_PROFILE);
    if (!fault.empty()) return damage("its extension record" + fault);
    return remark("it has no segments");
}

static ElementFault faultOfSurveyChain(RecordFile* job, const std::string& name)
{
    if (findSurveyChain(job, name.c_str()) != SURVEY_OK) return damage(NOT_FOUND);
    std::string fault = recordFault(job, &surveyState.surveyChainPlan, SURVEY_NAME_FIELD);
    if (!fault.empty()) return damage("its record" + fault);
    if (findChainPointList(job, name.c_str()) != SURVEY_OK) {
        if (lookupFailed(job)) return damage("its point list lies behind a damaged page");
        return remark("it has no point list");
    }
    fault = recordFault(job, &surveyState.pointListPlan, LIST_NAME_FIELD);
    return damage(fault.empty() ? "one of its points lies behind a damaged page"
                                : "its point list" + fault);
}

ElementFault faultOfElement(RecordFile* job, uint32_t kind, const std::string& name)
{
    switch (kind) {
    case ELEMENT_POINT:
        return faultOfPoint(job, name);
    case ELEMENT_LINE:
        return faultOfLine(job, name);
    case ELEMENT_CURVE:
        return faultOfRecord(job, findCurve(job, name.c_str()), &cogoState.curvePlan);
    case ELEMENT_SPIRAL:
        return faultOfRecord(job, findSpiral(job, name.c_str()), &cogoState.spiralPlan);
    case ELEMENT_CHAIN:
        return faultOfChain(job, name);
    case ELEMENT_PROFILE:
        return faultOfProfile(job, name);
    default:
        return faultOfSurveyChain(job, name);
    }
}
