#include "api/start_up.h"

#include "cogo/cogo.h"
#include "survey/survey.h"

void startUpFloors()
{
    buildCogoLayouts();
    resetWalks();
    buildSurveyLayouts();
    setRecordKey("");
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    jobFileCommand(nullptr, nullptr, "INITIALIZE");
}
