#include "tools/check/element_check.h"

#include "tools/check/kind_names.h"
#include "tools/faults/element_fault.h"
#include "tools/reading/job_copy.h"
#include "tools/reading/job_reading.h"
#include "tools/terminal/progress.h"

#include <algorithm>

static const char* remarkOn(uint32_t kind, const void* element)
{
    bool membersMissing =
        kind == ELEMENT_CHAIN && static_cast<const ChainElement*>(element)->unresolvedMembers != 0;
    bool pointsMissing = kind == ELEMENT_SURVEY_CHAIN &&
                         static_cast<const SurveyChainElement*>(element)->unresolvedPoints != 0;
    if (membersMissing) return "some of its members are missing or cannot be read";
    if (pointsMissing) return "some of its points are missing or cannot be read";
    return nullptr;
}

static void checkElement(IdxConnection* job, uint32_t kind, const std::string& name,
                         KindReport* report)
{
    void* element = nullptr;
    if (orvIdx_readElementbyName(job, kind, name.c_str(), &element) == IDX_OK) {
        const char* remark = remarkOn(kind, element);
        if (remark != nullptr) report->remarks.push_back({name, remark});
        orvIdx_freeElement(kind, &element);
        return;
    }
    ElementFault fault = faultOfElement(slotContext(), kind, name);
    (fault.isDamage ? report->unreadable : report->remarks).push_back({name, fault.reason});
}

static void checkKind(IdxConnection* job, uint32_t kind, const std::vector<uint8_t>& bytes,
                      KindReport* report, Progress* progress)
{
    KindNames found = namesOfKind(job, kind, bytes);
    report->fault = found.fault;
    for (const std::string& name : found.names) {
        showProgress(progress, std::string("reading ") + ELEMENT_KINDS[kind].plural + ": " +
                                   std::to_string(report->elements) + " of " +
                                   std::to_string(found.names.size()));
        checkElement(job, kind, name, report);
        ++report->elements;
    }
}

ElementReport checkElements(const std::vector<uint8_t>& bytes)
{
    ElementReport report;
    JobCopy copy = openJobCopy(bytes);
    report.fault = copy.fault;
    if (!report.fault.empty()) return report;
    Progress progress = startProgress();
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        checkKind(copy.job, kind, bytes, &report.kinds[kind], &progress);
    }
    eraseProgress(&progress);
    closeJobCopy(&copy);
    return report;
}

bool allReadable(const ElementReport& report)
{
    bool kinds = std::all_of(report.kinds, report.kinds + KINDS, [](const KindReport& kind) {
        return kind.fault.empty() && kind.unreadable.empty();
    });
    return report.fault.empty() && kinds;
}
