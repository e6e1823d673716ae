// What every connect resets.
#include "cogo/cogo.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"
#include "jobdb/survey_layouts.h"

void layerStartUp()
{
    emptyKeyComponents();
    buildCogoLayouts();
    buildSurveyLayouts();
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    jobFileCommand(nullptr, nullptr, "INITIALIZE");
}
