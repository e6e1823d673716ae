// What every connect resets, floor by floor. Open databases are not closed.
#include "api/start_up.h"

#include "cogo/cogo.h"
#include "survey/survey.h"

void layerStartUp()
{
    buildCogoLayouts();
    buildSurveyLayouts();
    setRecordKey("");
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    jobFileCommand(nullptr, nullptr, "INITIALIZE");
}
