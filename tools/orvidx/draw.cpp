#include "tools/drawing/svg.h"
#include "tools/export/output.h"
#include "tools/orvidx/commands.h"
#include "tools/orvidx/element_missing.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <stdexcept>

static int drawPlan(const JobSource& source, const DrawRequest& request, std::FILE* out)
{
    ExportPlan plan = exportOfAll(source, request.target, out);
    plan.format = EXPORT_PLAN;
    plan.kinds[ELEMENT_PROFILE] = false;
    plan.axes = request.northFirst ? NORTH_FIRST : EAST_FIRST;
    return tellGaps(source, exportJob(source.job, plan));
}

// Writes a text to a file, or to the stream when it has no name.
static void writeTo(const std::string& target, std::FILE* out, const std::string& text)
{
    ExportOutput output;
    beginOutput(&output, target.empty() ? out : nullptr, target);
    put(&output, text);
    finishOutput(&output);
    std::string fault = output.fault;
    abandonOutput(&output);
    if (!fault.empty()) throw std::runtime_error(fault);
}

static int drawProfile(const JobSource& source, const DrawRequest& request, std::FILE* out)
{
    std::string target = fileOf(request.target);
    refuseJobAsTarget(target, source.path);
    std::string name = latin1FromUtf8(request.profile);
    void* element = nullptr;
    orvIdx_readElementbyName(source.job, ELEMENT_PROFILE, name.c_str(), &element);
    if (element == nullptr)
        throw ReadingFault(whyMissing(source, ELEMENT_PROFILE, request.profile));
    ProfileLine line = lineOf(*static_cast<const ProfileElement*>(element));
    orvIdx_freeElement(ELEMENT_PROFILE, &element);

    writeTo(target, out, profileSvg(line, utf8FromLatin1(name)));
    for (const std::string& remark : line.remarks) {
        complain(source.path, harmless("profile " + utf8FromLatin1(name) + ", " + remark));
    }
    return line.remarks.empty() ? STATUS_DONE : STATUS_INCOMPLETE;
}

int runDraw(const JobSource& source, const DrawRequest& request, std::FILE* out)
{
    return (request.profile.empty() ? drawPlan : drawProfile)(source, request, out);
}
