#include "tools/faults/copy_faults.h"

#include "cogo/cogo.h"
#include "platform/path_text.h"
#include "survey/survey.h"
#include "tools/faults/element_fault.h"
#include "tools/reading/latin1.h"

static bool openForQuestions(CopyFaults* faults)
{
    if (faults->isOpen || faults->path.empty()) return faults->isOpen;
    buildCogoLayouts();
    buildSurveyLayouts();
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    int opened = recordOpen(&faults->records, libraryPath(faults->path).c_str(),
                            faults->recordBuffer, FAULTS_BUFFER_SIZE, OPEN_SHARED);
    faults->isOpen = opened == IX_OK;
    return faults->isOpen;
}

std::string reasonOf(CopyFaults* faults, uint32_t kind, const std::string* name)
{
    if (name != nullptr && openForQuestions(faults)) {
        return utf8FromLatin1(faultOfElement(&faults->records, kind, *name).reason);
    }
    const char* unwritten = faults->path.empty() ? " or cannot be written" : "";
    return std::string("a record that it needs is missing or damaged") + unwritten +
           " (orvjob check tells more)";
}

void closeFaults(CopyFaults* faults)
{
    if (faults->isOpen && recordClose(&faults->records) != IX_OK) ixAbandon(&faults->records.tree);
    faults->isOpen = false;
}
